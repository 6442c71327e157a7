// Eight threads that do everything to one store at once. The program ends with status 1 if what a
// user may rely on did not hold, and prints every thread's stack and aborts if nothing moves for
// ten seconds. Usage: stress [SECONDS [SEED]]

#include <execinfo.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "Worker.hpp"

namespace {

using Clock = std::chrono::steady_clock;

void printStack(int) {
    void* frames[64];
    int const count = backtrace(frames, 64);
    char const line[] = "--- thread\n";
    [[maybe_unused]] auto const written = write(STDERR_FILENO, line, sizeof line - 1);
    backtrace_symbols_fd(frames, count, STDERR_FILENO);
}

/// Asks each thread in turn for its stack.
[[noreturn]] void printAllStacksAndAbort() {
    for (auto const& task : std::filesystem::directory_iterator("/proc/self/task")) {
        syscall(SYS_tgkill, getpid(), std::stol(task.path().filename()), SIGUSR1);
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    std::abort();
}

}  // namespace

int main(int argc, char** argv) {
    int const seconds = argc > 1 ? std::stoi(argv[1]) : 20;
    std::uint64_t const seed = argc > 2 ? std::stoull(argv[2]) : 1;
    constexpr int threadCount = 8;
    std::signal(SIGUSR1, printStack);
    qbstress::World world;
    std::atomic<std::uint64_t> steps{0};
    std::atomic<bool> stop{false};
    std::atomic<int> running{threadCount};
    std::vector<std::thread> threads;
    for (int number = 0; number < threadCount; ++number) {
        threads.emplace_back([&, number] {
            try {
                qbstress::Worker worker(world, number, seed * 1000 + static_cast<unsigned>(number));
                while (!stop && !world.failed()) {
                    worker.step();
                    ++steps;
                }
            } catch (std::exception const& e) {
                world.fail(std::string("an operation threw: ") + e.what());
            }
            --running;
        });
    }

    auto const end = Clock::now() + std::chrono::seconds(seconds);
    auto lastMove = Clock::now();
    std::uint64_t lastSteps = 0;
    while (running > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        if (Clock::now() >= end) stop = true;
        if (steps != lastSteps) {
            lastSteps = steps;
            lastMove = Clock::now();
        } else if (Clock::now() - lastMove > std::chrono::seconds(10)) {
            world.fail("nothing moves");
            printAllStacksAndAbort();
        }
    }
    for (std::thread& thread : threads)
        thread.join();
    // The save that the file is compared after.
    if (!world.failed()) {
        auto const group = world.root()->getSettingsByFullName("busy.g0");
        group->setAny("k0", qbstress::World::value(0, 99999 + seed), "user");
        world.checkFile();
        world.checkLives();
    }
    std::cout << steps << " operations on " << threadCount << " threads in " << seconds
              << " s: " << (world.failed() ? "FAILED" : "good") << std::endl;
    return world.failed() ? 1 : 0;
}
