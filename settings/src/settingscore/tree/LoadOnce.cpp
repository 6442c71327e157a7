#include <settingscore/tree/LoadOnce.hpp>

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

#include <settingscore/rules/JavaValidation.hpp>

namespace settings::core::detail {

namespace {

/// Who loads what, and who waits for it. Never destroyed: loads may run until the process ends.
struct Coordinator {
    std::mutex mutex;
    std::condition_variable changed;
    std::map<LoadOnce const*, std::thread::id> loading;
    std::map<std::thread::id, LoadOnce const*> waiting;

    static Coordinator& instance() {
        static auto* const coordinator = new Coordinator;
        return *coordinator;
    }

    /// True if `owner` waits, directly or through others, for a load that `thread` runs.
    bool waitsFor(std::thread::id owner, std::thread::id thread) const {
        while (owner != thread) {
            auto const wait = waiting.find(owner);
            if (wait == waiting.end()) return false;
            auto const load = loading.find(wait->second);
            if (load == loading.end()) return false;
            owner = load->second;
        }
        return true;
    }

    void finish(LoadOnce const* load) {
        std::lock_guard<std::mutex> const lock(mutex);
        loading.erase(load);
        changed.notify_all();
    }
};

}  // namespace

void LoadOnce::run(boost::function<void()> const& load) {
    if (isDone()) return;
    Coordinator& coordinator = Coordinator::instance();
    {
        std::unique_lock<std::mutex> lock(coordinator.mutex);
        auto const me = std::this_thread::get_id();
        for (;;) {
            if (isDone()) return;
            auto const other = coordinator.loading.find(this);
            if (other == coordinator.loading.end()) break;
            if (coordinator.waitsFor(other->second, me) || isInsideJavaValidation()) return;
            coordinator.waiting[me] = this;
            coordinator.changed.wait(lock);
            coordinator.waiting.erase(me);
        }
        coordinator.loading[this] = me;
    }
    try {
        load();
    } catch (...) {
        coordinator.finish(this);
        throw;
    }
    spend();
    coordinator.finish(this);
}

bool LoadOnce::isRunningHere() const {
    Coordinator& coordinator = Coordinator::instance();
    std::lock_guard<std::mutex> const lock(coordinator.mutex);
    auto const load = coordinator.loading.find(this);
    return load != coordinator.loading.end() && load->second == std::this_thread::get_id();
}

}  // namespace settings::core::detail
