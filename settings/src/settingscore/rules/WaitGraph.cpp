#include <settingscore/rules/WaitGraph.hpp>

#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core::detail {

WaitGraph& WaitGraph::instance() {
    static auto& graph = neverDestroyed<WaitGraph>();
    return graph;
}

bool WaitGraph::waitsFor(std::thread::id owner, std::thread::id thread) const {
    // A circle of others, which is about to be broken, must not keep this from ending.
    for (std::size_t steps = 0; steps <= waiting_.size(); ++steps) {
        if (owner == thread) return true;
        auto const wait = waiting_.find(owner);
        if (wait == waiting_.end()) return false;
        auto const next = owners_.find(wait->second);
        if (next == owners_.end()) return false;
        owner = next->second;
    }
    return false;
}

bool WaitGraph::take(Resource resource, boost::function<bool()> const& isDone) {
    std::unique_lock<std::mutex> lock(mutex_);
    auto const me = std::this_thread::get_id();
    for (;;) {
        if (isDone()) return false;
        auto const owner = owners_.find(resource);
        if (owner == owners_.end()) break;
        if (waitsFor(owner->second, me)) return false;
        waiting_[me] = resource;
        changed_.notify_all();
        changed_.wait(lock);
        waiting_.erase(me);
    }
    owners_[resource] = me;
    return true;
}

void WaitGraph::release(Resource resource) {
    std::lock_guard<std::mutex> const lock(mutex_);
    owners_.erase(resource);
    changed_.notify_all();
}

bool WaitGraph::isHeldHere(Resource resource) const {
    std::lock_guard<std::mutex> const lock(mutex_);
    auto const owner = owners_.find(resource);
    return owner != owners_.end() && owner->second == std::this_thread::get_id();
}

void WaitGraph::beginWait(Resource resource) {
    std::lock_guard<std::mutex> const lock(mutex_);
    waiting_[std::this_thread::get_id()] = resource;
    changed_.notify_all();
}

void WaitGraph::endWait() {
    std::lock_guard<std::mutex> const lock(mutex_);
    waiting_.erase(std::this_thread::get_id());
}

void WaitGraph::noteHeld(Resource resource) {
    std::lock_guard<std::mutex> const lock(mutex_);
    owners_[resource] = std::this_thread::get_id();
}

}  // namespace settings::core::detail
