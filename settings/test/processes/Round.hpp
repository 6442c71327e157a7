#pragma once

#include <sys/types.h>

#include <chrono>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "Place.hpp"

namespace qbprocesses {

struct Options {
    std::string program;  ///< Empty: no process works by commands.
    int seconds = 30;
    int processes = 8;
    int threads = 1;  ///< Of the first process.
    bool kills = true;
    bool isShared = true;
    std::uint64_t seed = 1;

    /// Each thread works under a number of its own.
    int numbers() const { return processes - 1 + threads; }
};

/// Several processes at once, of which half are killed at random moments. The others come to an end
/// by themselves: they stop, and when all have, each takes in what the others did, and writes down
/// what it reads.
class Round {
public:
    Round(Place const& place, Options const& options);

    /// What went wrong with the processes themselves.
    std::vector<std::string> run();
    /// The numbers of those that were killed.
    std::set<int> const& killed() const { return killed_; }

private:
    using Clock = std::chrono::steady_clock;
    struct Process {
        ::pid_t id;
        std::vector<int> numbers;
        Clock::time_point killedAt;  ///< Far off for one that lives on.
        bool hasEnded = false;
    };

    void start(std::vector<int> const& numbers, bool byCommands, bool isDurable);
    void chooseWhomToKill();
    /// Until nobody is to be killed any more; ends those whose time has come.
    void letThemWork();
    /// Waits for the end of the process, or, if `file` is not empty, for that file.
    void waitFor(Process& process, std::filesystem::path const& file);
    /// Asks for the status; false if it goes on.
    bool collect(Process& process);

    Place const place_;
    Options const options_;
    std::mt19937_64 random_;
    std::vector<Process> processes_;
    std::set<int> killed_;
    std::vector<std::string> faults_;
};

}  // namespace qbprocesses
