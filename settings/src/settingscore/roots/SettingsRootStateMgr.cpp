#include <settingscore/roots/SettingsRootStateMgr.hpp>

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/roots/SettingsRootDirQuerier.hpp>
#include <settingscore/tree/StructureVersion.hpp>

namespace settings::core {

namespace {

void dropPendingEvents(SettingsImplRoot& root) {
    SettingsImplRoot::EventQueue dropped;
    root.getEventQueue(dropped);
}

}  // namespace

// The end of all instances comes without a reset of each.
SettingsRootStateMgr::~SettingsRootStateMgr() {
    if (root_) dropPendingEvents(*root_);
}

boost::shared_ptr<SettingsImplRoot> SettingsRootStateMgr::get(ZcrID const& id) {
    boost::shared_lock<boost::shared_mutex> const lock(stateMutex_);
    boost::lock_guard<boost::mutex> const once(rootOnceMutex_);
    if (!rootOnce_) {
        create(id);
        rootOnce_ = true;
    }
    return root_;
}

void SettingsRootStateMgr::create(ZcrID const& id) {
    root_ = boost::make_shared<SettingsImplRoot>(id, shared_from_this());
    rootInUse_ = root_.get();
    root_->buildSettingsTree();
}

boost::shared_ptr<SettingsImplRoot> SettingsRootStateMgr::resetRoot() {
    boost::shared_ptr<SettingsImplRoot> previous;
    {
        boost::upgrade_lock<boost::shared_mutex> lock(stateMutex_);
        boost::upgrade_to_unique_lock<boost::shared_mutex> const exclusive(lock);
        boost::lock_guard<boost::mutex> const once(rootOnceMutex_);
        rootOnce_ = true;
        rootInUse_ = nullptr;
        previous.swap(root_);
    }
    detail::raiseStructureVersion();
    if (previous) dropPendingEvents(*previous);
    return previous;
}

boost::shared_ptr<SettingsImplRoot> SettingsRootStateMgr::currentRoot() const {
    boost::shared_lock<boost::shared_mutex> const lock(stateMutex_);
    boost::lock_guard<boost::mutex> const once(rootOnceMutex_);
    return root_;
}

bool SettingsRootStateMgr::queueEnabled() const {
    auto const root = currentRoot();
    return root && root->queueEnabled();
}

void SettingsRootStateMgr::enableEventQueuing(bool enable) {
    if (auto const root = currentRoot()) root->enableEventQueue(enable);
}

ustring SettingsRootStateMgr::directory(Directory SettingsRootStateMgr::*field,
                                        ustring (*query)()) {
    {
        boost::lock_guard<boost::mutex> const lock(directoryMutex_);
        if (this->*field) return *(this->*field);
    }
    ustring const found = query();
    boost::lock_guard<boost::mutex> const lock(directoryMutex_);
    if (!(this->*field)) this->*field = found;
    return *(this->*field);
}

void SettingsRootStateMgr::setDirectory(Directory SettingsRootStateMgr::*field,
                                        Directory const& directory) {
    boost::lock_guard<boost::mutex> const lock(directoryMutex_);
    this->*field = directory;
}

ustring SettingsRootStateMgr::getFactoryDir() {
    return directory(&SettingsRootStateMgr::factoryDir_, &SettingsRootDirQuerier::FactoryRoot);
}

ustring SettingsRootStateMgr::getWrkGroupDir() {
    return directory(&SettingsRootStateMgr::wrkGroupDir_, &SettingsRootDirQuerier::WorkgroupRoot);
}

ustring SettingsRootStateMgr::getUserDir() {
    ustring found = directory(&SettingsRootStateMgr::userDir_, &SettingsRootDirQuerier::UserRoot);
    if (found.empty()) {
        namespace msg = ZENBAR::settings::core;
        msg::throwMessage<msg::SettingsUserDirectoryNotExist>();
    }
    return found;
}

void SettingsRootStateMgr::setFactoryDir(boost::optional<ustring> const& directory) {
    setDirectory(&SettingsRootStateMgr::factoryDir_, directory);
}

void SettingsRootStateMgr::setWrkGroupDir(boost::optional<ustring> const& directory) {
    setDirectory(&SettingsRootStateMgr::wrkGroupDir_, directory);
}

void SettingsRootStateMgr::setUserDir(boost::optional<ustring> const& directory) {
    setDirectory(&SettingsRootStateMgr::userDir_, directory);
}

}  // namespace settings::core
