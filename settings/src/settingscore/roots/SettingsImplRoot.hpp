#pragma once

#include <atomic>
#include <queue>

#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/weak_ptr.hpp>
#include <settingscore/host/ContextMgr.hpp>
#include <settingscore/tree/TreeRoot.hpp>

namespace settings::core {

class SettingsEvent;
class SettingsRootStateMgr;

/// The root of an instance's tree: knows the directories of the levels, and publishes events.
///
/// A root that its instance has let go (`isInUse` is false) works on in memory for whoever holds
/// it: nothing is saved, and its events are dropped. As long as the instance's manager lives, which
/// is not so after the end of all instances, products can still be read from their files.
class SettingsImplRoot : public TreeRoot {
public:
    using EventQueue = std::queue<boost::shared_ptr<SettingsEvent const>>;

    SettingsImplRoot(ZcrID const& id, boost::weak_ptr<SettingsRootStateMgr> const& stateMgr);
    ~SettingsImplRoot() override;

    bool isRoot() const override { return true; }
    ZcrID getZcrID() const override { return zcrID_; }
    bool isConnectedToTheSettingsTree() const override { return true; }
    void enableEventQueue(bool enable) override;
    bool isSettingsTreeRoot() const override { return true; }
    virtual bool queueEnabled() const { return eventQueueEnabled_; }

    /// Makes one empty product for each name found in the folders of the levels. Opens no file.
    void buildSettingsTree();

    /// Swaps the pending events with `queue`, which is to be empty.
    void getEventQueue(EventQueue& queue);
    /// Drops the event if the root is not in use: it could hold the very root that holds it.
    void enqueue(boost::shared_ptr<SettingsEvent const> const& event) const;
    void broadcastEvent(boost::shared_ptr<SettingsEvent const> const& event) const override;
    bool hasAudience() const override;
    bool isInUse() const override;
    /// Directories of the levels; empty on a root whose manager is gone. `getUserDir` ends the
    /// process if there is no user directory, since there is nowhere to save.
    ustring getFactoryDir() const;
    ustring getWrkgrpDir() const;
    ustring getUserDir() const;

private:
    boost::shared_ptr<SettingsRootStateMgr> manager() const;

    ZcrID const zcrID_;
    mutable EventQueue eventQueue_;
    std::atomic<bool> eventQueueEnabled_{false};
    mutable boost::mutex queueMutex_;  ///< Taken inside the tree lock, never the other way.
    boost::weak_ptr<SettingsRootStateMgr> const stateMgr_;
};

}  // namespace settings::core
