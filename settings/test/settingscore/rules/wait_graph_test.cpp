#include <settingscore/rules/WaitGraph.hpp>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

using settings::core::detail::WaitGraph;

namespace {

TEST(WaitGraphTest, WaitersOfOneLoadSleepUntilItEnds) {
    constexpr int waiters = 4;
    WaitGraph graph;
    int const load = 0;
    std::atomic<bool> isDone{false};
    std::atomic<int> looks{0};
    ASSERT_TRUE(graph.take(&load, [] { return false; }));
    std::vector<std::thread> threads;
    for (int i = 0; i < waiters; ++i) {
        threads.emplace_back([&] {
            EXPECT_FALSE(graph.take(&load, [&] {
                ++looks;
                return isDone.load();
            }));
        });
    }
    while (looks < waiters)
        std::this_thread::yield();
    // Time enough to look some ten thousand times, if they kept one another awake.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    isDone = true;
    graph.release(&load);
    for (std::thread& thread : threads)
        thread.join();
    // Each looks when it comes, when another one begins to wait, and at the end.
    EXPECT_LE(looks, waiters * (waiters + 1) * 10) << "but for a few wakes without a reason";
}

}  // namespace
