#pragma once

#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include <unistd.h>
#include <settingscore/persistence/SettingsLevel.hpp>
#include <settingscore/persistence/writer/SaveSettingsFunctor.hpp>
#include <settingscore/roots/SettingsEvent.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/rules/RulesWorld.hpp>
#include <support/TempWorld.hpp>

namespace qbtest {

using Texts = std::vector<std::string>;

inline std::string keyXml(std::string const& name, std::string const& type,
                          std::string const& content, std::string const& attributes = {}) {
    return "<key name=\"" + name + "\" visible=\"true\"><" + type + attributes + ">" + content +
           "</" + type + "></key>\n";
}
inline std::string valueXml(std::string const& text) { return "<value>" + text + "</value>"; }
inline std::string groupXml(std::string const& name, std::string const& body) {
    return "<settings name=\"" + name + "\" visible=\"true\">\n" + body + "</settings>\n";
}
/// A key of type int32 with a value.
inline std::string intKey(std::string const& name, std::string const& value) {
    return keyXml(name, "int32", valueXml(value));
}

inline Texts childNames(Parent const& node) {
    Texts names;
    for (auto const& child : node->getChildren())
        names.push_back(child->getName());
    return names;
}

/// A world whose tree can be looked at and whose hooks are put back.
class TreeWorld : public TempWorld {
protected:
    TreeWorld() { environment().set("QBHOST_LIBRARY_PATH", QB_TEST_PLUGIN_DIR); }
    ~TreeWorld() override {
        SettingsImpl::setLoadCallOnceFunc(
            [](SettingsImpl* node, qf::ustring& errors) { node->loadSettingsOnce(errors); });
        settings::core::turnOnSettingsSaving();
    }
    /// The node at a path below the root, which has to be there.
    static Node at(std::string const& path) {
        auto const node =
            boost::dynamic_pointer_cast<SettingsImpl>(root()->getSettingsByFullName(path));
        if (!node) throw std::runtime_error("no node " + path);
        return node;
    }
    std::map<std::string, std::string> userFiles() const { return readTree(userDir()); }
    /// Puts a list of "LEVEL:NODE" in the place of saving.
    void noteSaves() {
        SettingsImpl::setSaveFunc([this](settings::core::SettingsLevel const* level,
                                         Node const& node,
                                         settings::core::SaveSettingsFunctor const&) {
            saves_.push_back(level->levelName() + ":" + node->getName());
        });
    }
    static void failSaves() {
        SettingsImpl::setSaveFunc([](auto const*, auto const&, auto const&) {
            throw std::runtime_error("the disk is full");
        });
    }
    Texts takeSaves() { return std::exchange(saves_, {}); }

private:
    Texts saves_;
};

/// What a node hears, as "value NAME", "add NAME to PARENT" and "remove NAME from PARENT".
class Heard {
public:
    explicit Heard(Parent const& node)
        : connection_(node->addListener<settings::core::SettingsEvent>(
              [this](settings::core::SettingsEvent const& event) { hear(event); })) {}
    Texts take() {
        std::lock_guard<std::mutex> const lock(mutex_);
        return std::exchange(texts_, {});
    }

private:
    void hear(settings::core::SettingsEvent const& event) {
        std::string text = event.getObj()->getName();
        if (auto const* added = dynamic_cast<settings::core::SettingsAddNodeEvent const*>(&event)) {
            text = "add " + text + " to " + added->getParentObj()->getName();
        } else if (auto const* removed =
                       dynamic_cast<settings::core::SettingsRemoveNodeEvent const*>(&event)) {
            text = "remove " + text + " from " + removed->getParentObj()->getName();
        } else {
            text = "value " + text;
        }
        std::lock_guard<std::mutex> const lock(mutex_);
        texts_.push_back(text);
    }

    std::mutex mutex_;
    Texts texts_;
    std::unique_ptr<corebus::msg_svc::eventmgr::Connection> connection_;
};

/// Validators of the kind ZENBAR that run `function` (with the function's name, the key's parent,
/// the key's name and the value) on whichever thread asks for them.
class ScriptedValidators {
public:
    using Parent = qbtest::Parent;
    using Function = std::function<void(std::string const&, Parent const&, std::string const&,
                                        boost::any const&)>;

    explicit ScriptedValidators(Function function) {
        qbhost::setSignalThread([] { return true; });
        settings::core::ZValidator::setZENBARValFuncInvokingProxyName(
            [function](std::string const&, auto const&... rest) { function(rest...); });
    }
    ~ScriptedValidators() {
        settings::core::ZValidator::setZENBARValFuncInvokingProxyName({});
        qbhost::setSignalThread({});
    }
};

/// Runs `work` with 0 to count - 1 on as many threads and waits for them; a hang ends the program.
inline void concurrently(int count, std::function<void(int)> const& work) {
    ::alarm(60);
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back(work, i);
    for (std::thread& thread : threads)
        thread.join();
    ::alarm(0);
}

}  // namespace qbtest
