#include <settingscore/roots/SettingsContext.hpp>

#include <boost/make_shared.hpp>
#include <boost/thread/lock_types.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/roots/SettingsRootStateMgr.hpp>
#include <settingscore/roots/ZcrIdRootMap.hpp>
#include <settingscore/tree/StructureVersion.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

extern "C" {
char const* const libqbsettingscore_version = QBSETTINGSCORE_VERSION;
char const* const libqbsettingscore_build_date = __DATE__;
}

namespace settings::core {

zbutil::contextmgr::ContextFactory<SettingsContext,
                                   zbutil::contextmgr::ContextGenerator<SettingsContext>>
    settingsContextFactory;

namespace {

/// What `restore` and `release` note down, and the directory overrides, are changed one at a time.
struct Globals {
    boost::shared_mutex mutexToCurrentGlobals_;
    ZcrID currZcrId_ = UndefinedZcrID;

    static Globals& instance() {
        static auto& globals = detail::neverDestroyed<Globals>();
        return globals;
    }
};

/// Exclusive access, reached through upgrade, so that a waiter stops no reader.
class ExclusiveGlobals {
public:
    ExclusiveGlobals() : lock_(Globals::instance().mutexToCurrentGlobals_), exclusive_(lock_) {}

private:
    boost::upgrade_lock<boost::shared_mutex> lock_;
    boost::upgrade_to_unique_lock<boost::shared_mutex> exclusive_;
};

}  // namespace

SettingsContext::~SettingsContext() = default;

void SettingsContext::init(bool) { createContext(zcrID_); }

void SettingsContext::restore() { setCurrent(zcrID_); }

void SettingsContext::save() {}

void SettingsContext::release(bool) {
    resetThisZcrID(zcrID_);
    setCurrent(BlessedZcrID);
    // The entry of the blessed instance stays, with a manager that has no root any more.
    if (BlessedZcrID < zcrID_) getZcrIdAndRootMap().erase(zcrID_);
}

void SettingsContext::setCurrent(ZcrID const& id) {
    ExclusiveGlobals const exclusive;
    Globals::instance().currZcrId_ = id;
}

bool SettingsContext::createContext(ZcrID const& id) {
    return getZcrIdAndRootMap().insert({id, boost::make_shared<SettingsRootStateMgr>()});
}

void SettingsContext::resetThisZcrID(ZcrID const& id) {
    if (auto const manager = getSettingsRootMgrFromMap(id)) manager->resetRoot();
}

boost::shared_ptr<Settings> SettingsContext::reset(ZcrID const& id) {
    auto const manager = getSettingsRootMgrFromMap(BlessedZcrID);
    if (!manager) return {};
    boost::shared_ptr<Settings> previous = manager->resetRoot();
    if (id == AnyZcrID) {
        getZcrIdAndRootMap().clear();
        createContext(ZcrID(0));
        setCurrent(ZcrID(0));
        // The other instances ended without a reset of each.
        detail::raiseStructureVersion();
    }
    return previous;
}

ZcrID SettingsContext::getZcrIDInUse(ZcrID const& id) {
    return zbutil::contextmgr::ContextRegistry::getInstance().resolveZcrID(id);
}

boost::shared_ptr<SettingsRootStateMgr> SettingsContext::getSettingsRootMgrFromMap(
    ZcrID const& id) {
    return getZcrIdAndRootMap().find(id).value_or(nullptr);
}

boost::shared_ptr<SettingsRootStateMgr> SettingsContext::managerInUse(ZcrID const& id) {
    ZcrID const resolved = getZcrIDInUse(id);
    if (resolved < BlessedZcrID) return {};
    return getSettingsRootMgrFromMap(resolved);
}

boost::shared_ptr<Settings> SettingsContext::getSettingsRootByZcrID(ZcrID const& id) {
    return getSettingsImplRootByZcrID(id);
}

boost::shared_ptr<SettingsImplRoot> SettingsContext::getSettingsImplRootByZcrID(ZcrID const& id) {
    ZcrID const resolved = getZcrIDInUse(id);
    if (resolved < BlessedZcrID) return {};
    auto const manager = getSettingsRootMgrFromMap(resolved);
    return manager ? manager->get(resolved) : boost::shared_ptr<SettingsImplRoot>();
}

void SettingsContext::getEventQueue(std::queue<boost::shared_ptr<SettingsEvent const>>& queue,
                                    ZcrID const& id) {
    if (auto const root = getSettingsImplRootByZcrID(id)) root->getEventQueue(queue);
}

ustring SettingsContext::getFactoryDir(ZcrID const& id) {
    auto const manager = managerInUse(id);
    boost::shared_lock<boost::shared_mutex> const lock(Globals::instance().mutexToCurrentGlobals_);
    return manager ? manager->getFactoryDir() : ustring();
}

ustring SettingsContext::getWorkgroupDir(ZcrID const& id) {
    auto const manager = managerInUse(id);
    boost::shared_lock<boost::shared_mutex> const lock(Globals::instance().mutexToCurrentGlobals_);
    return manager ? manager->getWrkGroupDir() : ustring();
}

ustring SettingsContext::getUserDir(ZcrID const& id) {
    auto const manager = managerInUse(id);
    boost::shared_lock<boost::shared_mutex> const lock(Globals::instance().mutexToCurrentGlobals_);
    return manager ? manager->getUserDir() : ustring();
}

void SettingsContext::setSettingsDirectories(ZcrID const& id,
                                             boost::optional<ustring> const& factory,
                                             boost::optional<ustring> const& workgroup,
                                             boost::optional<ustring> const& user) {
    auto const manager = managerInUse(id);
    if (!manager) return;
    ExclusiveGlobals const exclusive;
    manager->setFactoryDir(factory);
    manager->setWrkGroupDir(workgroup);
    manager->setUserDir(user);
}

}  // namespace settings::core
