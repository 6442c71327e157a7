#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

#include <boost/function.hpp>

namespace settings::core::detail {

/// Which thread waits for which: for a load that another one runs, or for the lock of the Java
/// validators. Before such a wait begins, and whenever a new one begins, it is looked whether the
/// waits close a circle; a wait for a load then ends, and its thread goes on without. So nobody
/// waits who would wait for ever, and everybody else does. Its mutex is held for the look alone.
class WaitGraph {
public:
    /// What one thread has and others want: the address of a load, or of the Java lock.
    using Resource = void const*;

    static WaitGraph& instance();

    /// Takes a resource, which is then to be released by this thread. False, with nothing taken, if
    /// `isDone` says that it is no longer wanted, or if waiting would close a circle.
    bool take(Resource resource, boost::function<bool()> const& isDone);
    void release(Resource resource);
    bool isHeldHere(Resource resource) const;

    // For a lock that is taken by other means: notes who waits for it and who has it.
    void beginWait(Resource resource);
    void endWait();
    void noteHeld(Resource resource);

private:
    /// True if `owner` waits, directly or through others, for something that `thread` has.
    bool waitsFor(std::thread::id owner, std::thread::id thread) const;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::map<Resource, std::thread::id> owners_;
    std::map<std::thread::id, Resource> waiting_;
};

}  // namespace settings::core::detail
