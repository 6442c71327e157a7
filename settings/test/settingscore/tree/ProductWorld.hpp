#pragma once

#include <stdexcept>
#include <string>

#include <unistd.h>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/host/Filesystem.hpp>

#include "TreeWorld.hpp"

/// A world with products on disk, and short words for what tests of whole trees do.
namespace qbtest {

using settings::core::Settings;
using settings::core::ZSettings;
using NodePtr = boost::shared_ptr<SettingsImpl>;
namespace exception = settings::core::exception;

template <class T, class Action>
void expectThrow(Action&& action) {
    expectThrow<T>(std::forward<Action>(action), [](T const&) {});
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

/// Runs `work` on `count` threads at once and waits for them; a hang ends the program.
inline void concurrently(int count, std::function<void(int)> const& work) {
    TimeLimit const limit;
    onThreads(count, work);
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

class ProductWorld : public TreeWorld {
protected:
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
};

}  // namespace qbtest
