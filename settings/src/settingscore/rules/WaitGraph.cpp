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
    bool isAnnounced = false;
    bool isFree = false;
    while (!isDone()) {
        auto const owner = owners_.find(resource);
        isFree = owner == owners_.end();
        if (isFree || waitsFor(owner->second, me)) break;
        // Once: waiters that announce themselves at each turn would keep one another awake.
        if (!isAnnounced) {
            waiting_[me] = resource;
            changed_.notify_all();
            isAnnounced = true;
        }
        changed_.wait(lock);
    }
    if (isAnnounced) waiting_.erase(me);
    if (isFree) owners_[resource] = me;
    return isFree;
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
