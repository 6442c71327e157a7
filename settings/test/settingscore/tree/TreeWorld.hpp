#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <boost/optional/optional_io.hpp>
#include <qbhost/QbHost.hpp>
#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/persistence/SettingsLevel.hpp>
#include <settingscore/persistence/writer/SaveSettingsFunctor.hpp>
#include <settingscore/roots/SettingsEvent.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/rules/RulesWorld.hpp>
#include <settingscore/tree/SettingsImpl.hpp>
#include <support/TempWorld.hpp>

namespace qbtest {

/// A key of type int32 for the text of a file, with a value if `value` is not empty.
inline std::string intKey(std::string const& name, std::string const& value) {
    return "<key name=\"" + name + "\" visible=\"true\"><int32>" +
           (value.empty() ? "" : "<value>" + value + "</value>") + "</int32></key>\n";
}

/// "-" for no value, a number as it is written.
inline std::string shown(boost::any const& value) {
    if (value.empty()) return "-";
    if (auto const* number = boost::any_cast<int>(&value)) return std::to_string(*number);
    if (auto const* number = boost::any_cast<double>(&value)) {
        return *number == 2.5 ? "2.5" : "another double";
    }
    return "something else";
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
    /// A group made in memory and attached, a product if the parent is the root.
    static Node attachedGroup(std::string const& name, Node const& parent) {
        Node const group = makeGroup(name);
        group->setParent(parent);
        return group;
    }
    /// A key of that kind, with a value on the level "user" if it is not empty.
    static Node attachedKey(std::string const& name, Node const& parent,
                            boost::any const& value = {}) {
        Node const key = makeKey(name);
        key->setParent(parent);
        if (!value.empty()) parent->setAny(name, value, "user");
        return key;
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
    std::vector<std::string> takeSaves() { return std::exchange(saves_, {}); }

private:
    std::vector<std::string> saves_;
};

/// What a node hears, as "value NAME", "add NAME to PARENT" and "remove NAME from PARENT".
class Heard {
public:
    explicit Heard(boost::shared_ptr<settings::core::Settings const> const& node)
        : connection_(node->addListener<settings::core::SettingsEvent>(
              [this](settings::core::SettingsEvent const& event) { hear(event); })) {}
    std::vector<std::string> take() {
        std::lock_guard<std::mutex> const lock(mutex_);
        return std::exchange(texts_, {});
    }

private:
    void hear(settings::core::SettingsEvent const& event) {
        std::string const name = event.getObj()->getName();
        std::lock_guard<std::mutex> const lock(mutex_);
        if (auto const* added = dynamic_cast<settings::core::SettingsAddNodeEvent const*>(&event)) {
            texts_.push_back("add " + name + " to " + added->getParentObj()->getName());
        } else if (auto const* removed =
                       dynamic_cast<settings::core::SettingsRemoveNodeEvent const*>(&event)) {
            texts_.push_back("remove " + name + " from " + removed->getParentObj()->getName());
        } else {
            texts_.push_back("value " + name);
        }
    }

    std::mutex mutex_;
    std::vector<std::string> texts_;
    std::unique_ptr<corebus::msg_svc::eventmgr::Connection> connection_;
};

using Texts = std::vector<std::string>;

/// Validators of the kind ZENBAR that run `function` (with the function's name, the key's parent,
/// the key's name and the value) on whichever thread asks for them.
class ScriptedValidators {
public:
    using Parent = boost::shared_ptr<settings::core::Settings const>;
    using Function = std::function<void(std::string const&, Parent const&, std::string const&,
                                        boost::any const&)>;

    explicit ScriptedValidators(Function function) {
        qbhost::setSignalThread([] { return true; });
        settings::core::ZValidator::setZENBARValFuncInvokingProxyName(
            [function](std::string const&, std::string const& name, Parent const& parent,
                       std::string const& key,
                       boost::any const& value) { function(name, parent, key, value); });
    }
    ScriptedValidators(ScriptedValidators const&) = delete;
    ScriptedValidators& operator=(ScriptedValidators const&) = delete;
    ~ScriptedValidators() {
        settings::core::ZValidator::setZENBARValFuncInvokingProxyName({});
        qbhost::setSignalThread({});
    }
};

/// Ends the process if the scope is not left in time: for tests that hang when they fail.
class TimeLimit {
public:
    explicit TimeLimit(std::chrono::seconds limit = std::chrono::seconds(60))
        : thread_([this, end = std::chrono::system_clock::now() + limit] {
              std::unique_lock<std::mutex> lock(mutex_);
              if (left_.wait_until(lock, end, [this] { return over_; })) return;
              std::fputs("The test hangs.\n", stderr);
              std::abort();
          }) {}
    TimeLimit(TimeLimit const&) = delete;
    TimeLimit& operator=(TimeLimit const&) = delete;
    ~TimeLimit() {
        {
            std::lock_guard<std::mutex> const lock(mutex_);
            over_ = true;
        }
        left_.notify_all();
        thread_.join();
    }

private:
    std::mutex mutex_;
    std::condition_variable left_;
    bool over_ = false;
    std::thread thread_;
};

/// Runs `work` with 0 to count - 1 on as many threads, and waits for them.
inline void onThreads(int count, std::function<void(int)> const& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back(work, i);
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace qbtest
