#pragma once

#include <cassert>

#include <boost/thread/lock_types.hpp>
#include <boost/thread/shared_mutex.hpp>

namespace settings::core::detail {

/// Proof that the caller holds a lock, of whichever flavour. Operations named `...WithLock` take it
/// and never lock by themselves. The proof lives no longer than the lock that it was made from.
class HeldLock {
public:
    HeldLock(boost::shared_lock<boost::shared_mutex> const& lock) { require(lock.owns_lock()); }
    HeldLock(boost::upgrade_lock<boost::shared_mutex> const& lock) { require(lock.owns_lock()); }
    HeldLock(boost::unique_lock<boost::shared_mutex> const& lock) { require(lock.owns_lock()); }
    HeldLock(boost::upgrade_to_unique_lock<boost::shared_mutex> const& lock) {
        require(lock.owns_lock());
    }

private:
    static void require([[maybe_unused]] bool owned) { assert(owned); }
};

/// Counts the holds of the tree lock that this thread has through the library. An outermost shared
/// hold lets a waiting writer pass first: it pauses, for at most about a millisecond.
class TreeHold {
public:
    enum class Kind { shared, upgrade };
    explicit TreeHold(Kind kind);
    ~TreeHold();
    TreeHold(TreeHold const&) = delete;
    TreeHold& operator=(TreeHold const&) = delete;

private:
    int& holds_;  // Of the thread, which is the same at both ends.
};

/// The tree lock held shared: for every read.
class SharedTreeLock {
public:
    SharedTreeLock();
    operator HeldLock() const { return lock_; }
    boost::shared_lock<boost::shared_mutex> const& get() const { return lock_; }

private:
    TreeHold hold_;
    boost::shared_lock<boost::shared_mutex> lock_;
};

/// The tree lock held for upgrade: one thread at a time, beside readers.
class UpgradeTreeLock {
public:
    UpgradeTreeLock();
    operator HeldLock() const { return lock_; }
    boost::upgrade_lock<boost::shared_mutex>& get() { return lock_; }

private:
    TreeHold hold_;
    boost::upgrade_lock<boost::shared_mutex> lock_;
};

/// Exclusive access for the few instructions of a change; falls back to upgrade at the end of the
/// scope. The only road to exclusive access: a waiter on it stops no reader that comes after it.
class ExclusiveTreeLock {
public:
    explicit ExclusiveTreeLock(boost::upgrade_lock<boost::shared_mutex>& lock);
    operator HeldLock() const { return lock_; }

private:
    /// Announces the writer while it waits.
    struct Announcement {
        Announcement();
        ~Announcement();
    };
    static boost::upgrade_lock<boost::shared_mutex>& announced(
        boost::upgrade_lock<boost::shared_mutex>& lock, Announcement const&) {
        return lock;
    }
    boost::upgrade_to_unique_lock<boost::shared_mutex> lock_;
};

}  // namespace settings::core::detail
