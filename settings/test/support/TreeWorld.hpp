#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <stdexcept>
#include <utility>

#include <unistd.h>
#include <settingscore/levels/SettingsLevel.hpp>
#include <settingscore/persistence/writer/SaveSettingsFunctor.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/tree/SettingsEvent.hpp>
#include <settingscore/tree/SettingsSaving.hpp>
#include <support/RulesWorld.hpp>
#include <support/TempWorld.hpp>

namespace qbtest {

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

/// What is below a group, as in "axes(grid=bool 1) width=5", with the values on a level.
inline std::string contents(Parent const& group, std::string const& level = "") {
    std::string text;
    for (Parent const& child : group->getChildren()) {
        std::string const name = child->getName();
        text += (text.empty() ? "" : " ") + name +
                (child->isLeafNode() ? "=" + shown(group->getAny(name, level))
                                     : "(" + contents(child, level) + ")");
    }
    return text;
}
inline Texts childNames(Parent const& node) {
    Texts names;
    for (auto const& child : node->getChildren())
        names.push_back(child->getName());
    return names;
}

/// What a node hears, as "value NAME", "add NAME to PARENT" and "remove NAME from PARENT".
class Heard {
public:
    explicit Heard(Parent const& node)
        : connection_(node->addListener<SettingsEvent>([this](SettingsEvent const& event) {
              std::string const name = event.getObj()->getName();
              if (auto const* added = dynamic_cast<SettingsAddNodeEvent const*>(&event)) {
                  note("add " + name + " to " + added->getParentObj()->getName());
              } else if (auto const* gone = dynamic_cast<SettingsRemoveNodeEvent const*>(&event)) {
                  note("remove " + name + " from " + gone->getParentObj()->getName());
              } else {
                  note("value " + name);
              }
          })) {}
    void note(std::string const& text) {
        std::lock_guard<std::mutex> const lock(mutex_);
        texts_ += (texts_.empty() ? "" : "; ") + text;
    }
    /// What came since the last call.
    std::string take() {
        std::lock_guard<std::mutex> const lock(mutex_);
        return std::exchange(texts_, {});
    }

private:
    std::mutex mutex_;
    std::string texts_;
    std::unique_ptr<corebus::msg_svc::eventmgr::Connection> connection_;
};

/// A world whose tree can be looked at and whose hooks are put back.
class TreeWorld : public TempWorld {
protected:
    TreeWorld() { environment().set("QBHOST_LIBRARY_PATH", QB_TEST_PLUGIN_DIR); }
    ~TreeWorld() override {
        SettingsImpl::setLoadCallOnceFunc(
            [](SettingsImpl* node, ustring& errors) { node->loadSettingsOnce(errors); });
        turnOnSettingsSaving();
        ZValidator::setZENBARValFuncInvokingProxyName({});
        ZRunTimeDefault::setZRunTimeProxyFname({});
        ZENBARFunctionInvoker::setLoadConfigProxy({});
        JValidator::clearFunctions();
        JRunTimeDefault::setJRuntimeDefaultProxy({});
        qbhost::setSignalThread({});
    }
    /// The node at a path below the root, which has to be there.
    static Node at(std::string const& path) {
        auto const node =
            boost::dynamic_pointer_cast<SettingsImpl>(root()->getSettingsByFullName(path));
        if (!node) throw std::runtime_error("no node " + path);
        return node;
    }
    /// The value of the key at a path.
    static std::string shownAt(std::string const& path, std::string const& level = "") {
        std::size_t const dot = path.rfind('.');
        return shown(at(path.substr(0, dot))->getAny(path.substr(dot + 1), level));
    }
    /// How a set of the key at a path ends.
    static std::string setting(std::string const& path, any const& value,
                               std::string const& level = "user") {
        std::size_t const dot = path.rfind('.');
        Node const group = at(path.substr(0, dot));
        return ending([&] { group->setAny(path.substr(dot + 1), value, level); });
    }
    std::map<std::string, std::string> userFiles() const { return readTree(userDir()); }
    /// Notes "save LEVEL:NODE" in the place of saving.
    static void noteSaves(Heard& heard) {
        SettingsImpl::setSaveFunc([&heard](auto const* level, Node const& node, auto const&) {
            heard.note("save " + level->levelName() + ":" + node->getName());
        });
    }
    /// Makes validators of the kind ZENBAR run `judge` (with the function's name, the key's parent,
    /// the key's name and the value) on whichever thread asks for them.
    static void judgeWith(std::function<void(std::string const&, Parent const&, std::string const&,
                                             any const&)> const& judge) {
        qbhost::setSignalThread([] { return true; });
        ZValidator::setZENBARValFuncInvokingProxyName(
            [judge](std::string const&, auto const&... rest) { judge(rest...); });
    }
};

/// Runs `work` with 0 to count - 1 on as many threads at once and waits for them; a hang ends the
/// program.
inline void concurrently(int count, std::function<void(int)> const& work) {
    ::alarm(60);
    std::atomic<int> missing{count};
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&, i] {
            for (--missing; missing > 0;)
                std::this_thread::yield();
            work(i);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    ::alarm(0);
}

}  // namespace qbtest
