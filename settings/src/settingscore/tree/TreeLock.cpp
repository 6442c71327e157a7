#include <settingscore/tree/TreeLock.hpp>

#include <atomic>
#include <chrono>
#include <thread>

#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core::detail {

namespace {

// In the thread's static block, which a lookup reaches without a call.
[[gnu::tls_model("initial-exec")]] thread_local int holdsOfThisThread = 0;
std::atomic<int> waitingWriters{0};

/// A writer that waits through upgrade stops nobody, so readers that overlap without a gap could
/// starve it. The bound keeps the pause from ever becoming a lock of its own.
void letWriterPass() {
    using Clock = std::chrono::steady_clock;
    auto const end = Clock::now() + std::chrono::milliseconds(1);
    while (waitingWriters.load(std::memory_order_relaxed) > 0 && Clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::microseconds(20));
    }
}

}  // namespace

TreeHold::TreeHold(Kind kind) {
    if (kind == Kind::shared && holdsOfThisThread == 0 &&
        waitingWriters.load(std::memory_order_relaxed) > 0) {
        letWriterPass();
    }
    ++holdsOfThisThread;
}

TreeHold::~TreeHold() { --holdsOfThisThread; }

SharedTreeLock::SharedTreeLock()
    : hold_(TreeHold::Kind::shared), lock_(SettingsImpl::mutexToRoot()) {}

UpgradeTreeLock::UpgradeTreeLock()
    : hold_(TreeHold::Kind::upgrade), lock_(SettingsImpl::mutexToRoot()) {}

ExclusiveTreeLock::Announcement::Announcement() { waitingWriters.fetch_add(1); }

ExclusiveTreeLock::Announcement::~Announcement() { waitingWriters.fetch_sub(1); }

// The announcement lives until the lock is held: to the end of the member's initialisation.
ExclusiveTreeLock::ExclusiveTreeLock(boost::upgrade_lock<boost::shared_mutex>& lock)
    : lock_(announced(lock, Announcement())) {}

}  // namespace settings::core::detail
