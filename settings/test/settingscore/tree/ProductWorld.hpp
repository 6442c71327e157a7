#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>
#include <boost/any.hpp>
#include <qbhost/QbHost.hpp>
#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/rules/ZValidator.hpp>
#include <settingscore/tree/SettingsImpl.hpp>
#include <support/TempWorld.hpp>

/// A world with products on disk, and short words for what tests of whole trees do.
namespace qbtest {

using settings::core::Settings;
using settings::core::SettingsImpl;
using settings::core::ZSettings;
using NodePtr = boost::shared_ptr<SettingsImpl>;
namespace exception = settings::core::exception;

/// Runs `action`, which is to throw a T; hands the exception to `look`.
template <class T, class Action, class Look>
void expectError(Action&& action, Look&& look) {
    try {
        action();
        ADD_FAILURE() << "nothing was thrown";
    } catch (T const& error) {
        look(error);
    }
}
template <class T, class Action>
void expectError(Action&& action) {
    expectError<T>(std::forward<Action>(action), [](T const&) {});
}

inline std::string keyXml(std::string const& name, std::string const& type,
                          std::string const& content, std::string const& attributes = {}) {
    return "<key name=\"" + name + "\" visible=\"true\"><" + type + attributes + ">" + content +
           "</" + type + "></key>\n";
}
inline std::string valueXml(std::string const& text) { return "<value>" + text + "</value>"; }
inline std::string groupXml(std::string const& name, std::string const& body) {
    return "<settings name=\"" + name + "\" visible=\"true\">\n" + body + "</settings>\n";
}

inline NodePtr makeGroup(std::string const& name, NodePtr const& parent = {}) {
    auto node = boost::make_shared<SettingsImpl>(name, false, true);
    node->setParentInternal(parent);
    return node;
}
/// A key with a value on a level that can be modified.
inline NodePtr makeKey(std::string const& name, boost::any const& value, NodePtr const& parent,
                       std::string const& level = "user") {
    auto node = boost::make_shared<SettingsImpl>(name, true, true);
    node->setParentInternal(parent);
    node->initSetters(value);
    node->setAnyInternal(value, level);
    return node;
}

template <class T>
T valueOf(boost::shared_ptr<Settings const> const& group, std::string const& key,
          std::string const& level = "") {
    boost::any const value = group->getAny(key, level);
    if (value.type() != typeid(T)) throw std::runtime_error(key + " is not of that type");
    return boost::any_cast<T>(value);
}

/// Runs `work` on `count` threads at once and waits for them. A hang ends the program.
inline void onThreads(int count, std::function<void(int)> const& work) {
    ::alarm(60);
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back(work, i);
    for (std::thread& thread : threads)
        thread.join();
    ::alarm(0);
}

/// Takes the rights of root away until the end of the scope, so that permissions count.
class Unprivileged {
public:
    Unprivileged() : wasRoot_(::geteuid() == 0) {
        if (wasRoot_ && ::seteuid(65534) != 0) throw std::runtime_error("seteuid");
    }
    ~Unprivileged() {
        if (wasRoot_ && ::seteuid(0) != 0) std::abort();
    }

private:
    bool wasRoot_;
};

class ProductWorld : public TempWorld {
protected:
    ~ProductWorld() override {
        SettingsImpl::setLoadCallOnceFunc(
            [](SettingsImpl* node, qf::ustring& errors) { node->loadSettingsOnce(errors); });
        settings::core::turnOnSettingsSaving();
        settings::core::ZValidator::setZENBARValFuncInvokingProxyName({});
        qbhost::setSignalThread({});
    }

    /// The product "plot": width (1..10) is 5, title has no value; below axes: grid is true, and
    /// below its group ticks count is 3.
    void installPlot() const {
        factoryFile(
            "plot", "plot.settings",
            keyXml("width", "int32",
                   "<metadata><min>1</min><max>10</max></metadata>" + valueXml("5")) +
                keyXml("title", "string", "", " undef=\"true\"") +
                groupXml("axes", keyXml("grid", "bool", valueXml("1")) +
                                     groupXml("ticks", keyXml("count", "int32", valueXml("3")))),
            "visible=\"true\" version=\"4\"");
    }
    static boost::shared_ptr<Settings> product(std::string const& name = "plot") {
        return root()->getChild(name);
    }
    static NodePtr productImpl(std::string const& name = "plot") {
        return boost::dynamic_pointer_cast<SettingsImpl>(product(name));
    }
    static NodePtr nodeAt(std::string const& path) {
        return boost::dynamic_pointer_cast<SettingsImpl>(root()->getSettingsByFullName(path));
    }
    /// Installs a function of the scripting language that every thread may run.
    static void installScript(settings::core::ZValidator::Proxy const& proxy) {
        settings::core::ZValidator::setZENBARValFuncInvokingProxyName(proxy);
        qbhost::setSignalThread([] { return true; });
    }
    /// The user folder whole.
    std::map<std::string, std::string> userTree() const { return readTree(userDir()); }
};

}  // namespace qbtest
