#pragma once

#include <atomic>

#include <boost/function.hpp>

namespace settings::core::detail {

/// Runs the load of one node once. Other threads wait for the one that loads, with two exceptions,
/// which go on with the node as it stands: the loading thread itself, and a thread whose waiting
/// closes a circle of threads that wait for one another (`WaitGraph`). A load that throws is
/// repeated by the next caller.
class LoadOnce {
public:
    LoadOnce() = default;
    /// A copy takes over a finished load; from anything else it starts fresh.
    LoadOnce(LoadOnce const& other) : done_(other.isDone()) {}
    LoadOnce& operator=(LoadOnce const&) = delete;

    bool isDone() const { return done_.load(std::memory_order_acquire); }
    /// From now on nothing is loaded.
    void spend() { done_.store(true, std::memory_order_release); }
    void run(boost::function<void()> const& load);
    /// True on the thread that runs the load at this moment.
    bool isRunningHere() const;

private:
    std::atomic<bool> done_{false};
};

}  // namespace settings::core::detail
