#include <settingscore/tree/TreeLock.hpp>

#include <atomic>
#include <chrono>
#include <thread>

#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core::detail {

namespace {

// Without a destructor or a storage model of its own: the library can be loaded at any time, into
// any process, and used to the end of a thread.
struct ThisThread {
    int holds;
    unsigned pausedFor;  // The latest writer that this thread has paused for ...
    int pauses;          // ... and how many times.
};
thread_local ThisThread thisThread;
std::atomic<int> waitingWriters{0};
std::atomic<unsigned> announcedWriters{0};

/// A writer that waits through upgrade stops nobody, so readers that overlap without a gap could
/// starve it. The bounds keep the pause from ever becoming a lock of its own, and cheap for a
/// client that makes many reads under the root mutex, on which the writer waits all the while.
void letWriterPass(ThisThread& thread) {
    constexpr int pausesForAWriter = 5;
    unsigned const writer = announcedWriters.load(std::memory_order_relaxed);
    if (thread.pausedFor != writer) thread = {thread.holds, writer, 0};
    if (++thread.pauses > pausesForAWriter) return;
    using Clock = std::chrono::steady_clock;
    auto const end = Clock::now() + std::chrono::milliseconds(1);
    while (waitingWriters.load(std::memory_order_relaxed) > 0 && Clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::microseconds(20));
    }
}

}  // namespace

TreeHold::TreeHold(Kind kind) : holds_(thisThread.holds) {
    if (kind == Kind::shared && holds_ == 0 && waitingWriters.load(std::memory_order_relaxed) > 0) {
        letWriterPass(thisThread);
    }
    ++holds_;
}

TreeHold::~TreeHold() { --holds_; }

SharedTreeLock::SharedTreeLock()
    : hold_(TreeHold::Kind::shared), lock_(SettingsImpl::mutexToRoot()) {}

UpgradeTreeLock::UpgradeTreeLock()
    : hold_(TreeHold::Kind::upgrade), lock_(SettingsImpl::mutexToRoot()) {}

ExclusiveTreeLock::Announcement::Announcement() {
    announcedWriters.fetch_add(1, std::memory_order_relaxed);
    waitingWriters.fetch_add(1);
}

ExclusiveTreeLock::Announcement::~Announcement() { waitingWriters.fetch_sub(1); }

// The announcement lives until the lock is held: to the end of the member's initialisation.
ExclusiveTreeLock::ExclusiveTreeLock(boost::upgrade_lock<boost::shared_mutex>& lock)
    : lock_(announced(lock, Announcement())) {}

}  // namespace settings::core::detail
