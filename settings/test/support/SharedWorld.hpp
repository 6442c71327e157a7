#pragma once

#include <chrono>
#include <string>

#include <qbhost/QbHost.hpp>
#include <settingscore/persistence/SharedSaving.hpp>
#include <settingscore/roots/SettingsFileWatch.hpp>
#include <support/ProductWorld.hpp>

namespace qbtest {

/// Two instances over the same files, each with a tree of its own, as two processes have them:
/// "here" and "there".
class SharedWorld : public ProductWorld {
protected:
    SharedWorld() {
        installPlot();
        turnOnSharedSaving(std::chrono::milliseconds(200));
    }
    ~SharedWorld() override {
        turnOffSharedSaving();
        for (int id = 1; id < 3; ++id)
            qbhost::endInstance(id);
    }

    static boost::shared_ptr<Settings> here(std::string const& path) { return in(0, path); }
    static boost::shared_ptr<Settings> there(std::string const& path) { return in(1, path); }
    /// Null if there is none.
    static boost::shared_ptr<Settings> in(int instance, std::string const& path) {
        if (instance != 0) qbhost::startInstance(instance);
        return Settings::getSettingsRoot(ZcrID(instance))->getSettingsByFullName(path);
    }
    /// The value in force of the key at a path; "gone" if there is no such key.
    static std::string valueIn(int instance, std::string const& path) {
        std::size_t const dot = path.rfind('.');
        auto const group = in(instance, path.substr(0, dot));
        if (!group || !group->getChild(path.substr(dot + 1))) return "gone";
        return shown(group->getAny(path.substr(dot + 1), ""));
    }
    static std::string valueHere(std::string const& path) { return valueIn(0, path); }
    static std::string valueThere(std::string const& path) { return valueIn(1, path); }
    /// The value that a process that starts now would read.
    static std::string valueInFile(std::string const& path) {
        qbhost::endInstance(2);
        return valueIn(2, path);
    }
    static void set(int instance, std::string const& path, any const& value) {
        std::size_t const dot = path.rfind('.');
        in(instance, path.substr(0, dot))->setAny(path.substr(dot + 1), value, "user");
    }
    static void addKey(int instance, std::string const& group, std::string const& name,
                       any const& value) {
        auto const above = boost::dynamic_pointer_cast<SettingsImpl>(in(instance, group));
        auto const key = makeKey(name);
        key->setParent(above);
        above->setAny(name, value, "user");
    }
    static void removeKey(int instance, std::string const& group, std::string const& name) {
        boost::dynamic_pointer_cast<SettingsImpl>(in(instance, group))->removeKey(name);
    }
    static SettingsFileWatch::Refreshed refresh(int instance) {
        return SettingsFileWatch(ZcrID(instance)).refresh();
    }
};

}  // namespace qbtest
