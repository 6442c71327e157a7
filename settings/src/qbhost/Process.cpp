#include <cstdio>
#include <cstdlib>
#include <thread>
#include <utility>

#include <qbhost/QbHost.hpp>
#include <qbhost/Replaceable.hpp>
#include <settingscore/host/Platform.hpp>

namespace {

using SignalTest = std::function<bool()>;
using FastExit = std::function<void(int)>;

qbhost::detail::Replaceable<SignalTest>& signalTest() {
    return qbhost::detail::immortal<qbhost::detail::Replaceable<SignalTest>>();
}

qbhost::detail::Replaceable<FastExit>& fastExit() {
    return qbhost::detail::immortal<qbhost::detail::Replaceable<FastExit>>();
}

std::thread::id loadingThread() {
    static std::thread::id const id = std::this_thread::get_id();
    return id;
}

// Asked once while the library is loaded, so that the answer is the thread that loads it.
[[maybe_unused]] std::thread::id const atLoad = loadingThread();

}  // namespace

int quIsSignalThread() {
    auto const test = signalTest().get();
    return (*test ? (*test)() : std::this_thread::get_id() == loadingThread()) ? 1 : 0;
}

void qf::app::fast_exit(int status) {
    auto const replacement = fastExit().get();
    if (*replacement) {
        (*replacement)(status);
        return;
    }
    // Not if another thread is in the middle of a write, which could last.
    if (::ftrylockfile(stdout) == 0) ::fflush_unlocked(stdout);
    std::_Exit(status);
}

void qbhost::setSignalThread(std::function<bool()> isSignalThread) {
    signalTest().set(std::move(isSignalThread));
}

void qbhost::setSignalThreadToThisThread() {
    setSignalThread([id = std::this_thread::get_id()] { return std::this_thread::get_id() == id; });
}

void qbhost::setFastExit(std::function<void(int status)> replacement) {
    fastExit().set(std::move(replacement));
}
