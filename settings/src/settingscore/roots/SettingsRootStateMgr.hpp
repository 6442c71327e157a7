#pragma once

#include <atomic>

#include <boost/enable_shared_from_this.hpp>
#include <boost/noncopyable.hpp>
#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/shared_mutex.hpp>
#include <settingscore/host/ContextMgr.hpp>
#include <settingscore/host/UString.hpp>

namespace settings::core {

class SettingsImplRoot;

/// State of one instance: its root, made at first use, and its directories. Lives inside a
/// `boost::shared_ptr`.
class SettingsRootStateMgr : public boost::enable_shared_from_this<SettingsRootStateMgr>,
                             private boost::noncopyable {
public:
    SettingsRootStateMgr() = default;
    ~SettingsRootStateMgr();
    /// The root. The first call builds it; if that fails, the next one tries again. Empty for good
    /// after `resetRoot`.
    boost::shared_ptr<SettingsImplRoot> get(ZcrID const& id);
    /// Detaches the root and returns it, with its event queue emptied: a queued event may hold the
    /// very root that owns the queue.
    boost::shared_ptr<SettingsImplRoot> resetRoot();
    bool isRootInUse(SettingsImplRoot const* root) const { return rootInUse_ == root; }

    /// False without a root.
    bool queueEnabled() const;
    /// No effect without a root.
    void enableEventQueuing(bool enable);

    /// What was set, or what the environment gave at the first call.
    ustring getFactoryDir();
    ustring getWrkGroupDir();
    /// @throws the message-id exception SettingsUserDirectoryNotExist if it is empty
    ustring getUserDir();
    /// An unset argument lets the environment be asked again.
    void setFactoryDir(boost::optional<ustring> const& directory);
    void setWrkGroupDir(boost::optional<ustring> const& directory);
    void setUserDir(boost::optional<ustring> const& directory);

private:
    using Directory = boost::optional<ustring>;

    void create(ZcrID const& id);
    boost::shared_ptr<SettingsImplRoot> currentRoot() const;
    ustring directory(Directory SettingsRootStateMgr::*field, ustring (*query)());
    void setDirectory(Directory SettingsRootStateMgr::*field, Directory const& directory);

    bool rootOnce_ = false;               ///< The root was built, or never will be.
    mutable boost::mutex rootOnceMutex_;  ///< Guards making and handing out the root.
    mutable boost::shared_mutex stateMutex_;
    boost::shared_ptr<SettingsImplRoot> root_;
    std::atomic<SettingsImplRoot const*> rootInUse_{nullptr};
    /// Guards the directories. Never held while the environment is asked, which can create and
    /// fill a directory.
    boost::mutex directoryMutex_;
    Directory factoryDir_;
    Directory wrkGroupDir_;
    Directory userDir_;
};

}  // namespace settings::core
