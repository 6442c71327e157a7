#include <settingscore/roots/SettingsImplRoot.hpp>

#include <cstdio>

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/host/Platform.hpp>
#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/roots/SettingsRootStateMgr.hpp>
#include <settingscore/roots/Wiring.hpp>
#include <settingscore/tree/SettingsEvent.hpp>

namespace settings::core {

SettingsImplRoot::SettingsImplRoot(ZcrID const& id,
                                   boost::weak_ptr<SettingsRootStateMgr> const& stateMgr)
    : TreeRoot("root", false, true), zcrID_(id), stateMgr_(stateMgr) {
    detail::connectLayers();
}

SettingsImplRoot::~SettingsImplRoot() {
    if (eventQueueEnabled_) countQueue(false);
}

void SettingsImplRoot::buildSettingsTree() {
    auto const self = boost::static_pointer_cast<SettingsImplRoot>(shared_from_this());
    for (std::string const& name : SettingsFile::getSettingsTopLevelNodes(self)) {
        if (getChildImpl(name)) continue;
        boost::make_shared<SettingsImpl>(name, false, boost::none)->setParentInternal(self);
    }
}

// --- Events ---------------------------------------------------------------------------------

void SettingsImplRoot::enableEventQueue(bool enable) {
    if (eventQueueEnabled_.exchange(enable) != enable) countQueue(enable);
}

void SettingsImplRoot::getEventQueue(EventQueue& queue) {
    boost::lock_guard<boost::mutex> const lock(queueMutex_);
    queue.swap(eventQueue_);
}

void SettingsImplRoot::enqueue(boost::shared_ptr<SettingsEvent const> const& event) const {
    // Held beyond the lock: the end of the last manager empties the queue. Asked inside it: whoever
    // lets the root go empties the queue afterwards, and then nothing may come any more.
    auto const owner = manager();
    boost::lock_guard<boost::mutex> const lock(queueMutex_);
    if (owner && owner->isRootInUse(this)) eventQueue_.push(event);
}

void SettingsImplRoot::broadcastEvent(boost::shared_ptr<SettingsEvent const> const& event) const {
    if (!isInUse()) return;
    if (queueEnabled()) enqueue(event);
    using corebus::msg_svc::eventmgr::DeliverMode;
    zbutil::eventmgr::createLocalEventMgr()->notify(event, DeliverMode::Immediate);
}

bool SettingsImplRoot::hasAudience() const {
    return queueEnabled() || zbutil::eventmgr::createLocalEventMgr()->hasSubscriptions();
}

// --- Directories ----------------------------------------------------------------------------

boost::shared_ptr<SettingsRootStateMgr> SettingsImplRoot::manager() const {
    return stateMgr_.lock();
}

bool SettingsImplRoot::isInUse() const {
    auto const owner = manager();
    return owner && owner->isRootInUse(this);
}

ustring SettingsImplRoot::getFactoryDir() const {
    auto const owner = manager();
    return owner ? owner->getFactoryDir() : ustring();
}

ustring SettingsImplRoot::getWrkgrpDir() const {
    auto const owner = manager();
    return owner ? owner->getWrkGroupDir() : ustring();
}

ustring SettingsImplRoot::getUserDir() const {
    auto const owner = manager();
    if (!owner) return ustring();
    try {
        return owner->getUserDir();
    } catch (qf::except::Exception<ZENBAR::settings::core::SettingsUserDirectoryNotExist,
                                   std::exception, void> const&) {
        std::fputs("ZENBAR Shutdown : Failed To Create Preference Directory.\n", stderr);
        qf::app::fast_exit(1);
        return ustring();  // A test can put an exit in place that returns.
    }
}

}  // namespace settings::core
