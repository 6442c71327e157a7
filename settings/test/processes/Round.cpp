#include "Round.hpp"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace qbprocesses {

namespace {

constexpr std::chrono::milliseconds look(5);
constexpr std::chrono::minutes longestWait(3);

}  // namespace

Round::Round(Place const& place, Options const& options)
    : place_(place), options_(options), random_(options.seed) {}

std::vector<std::string> Round::run() {
    place_.make(options_.numbers());
    int number = 0;
    for (int process = 0; process < options_.processes; ++process) {
        std::vector<int> numbers{number++};
        if (process == 0) {
            for (int thread = 1; thread < options_.threads; ++thread)
                numbers.push_back(number++);
        }
        bool const byCommands = process % 3 == 2 && !options_.program.empty();
        start(numbers, byCommands, process % 3 == 1);
    }
    if (options_.kills) chooseWhomToKill();
    letThemWork();
    std::ofstream(place_.stop()).close();
    for (Process& process : processes_) {
        for (int const own : process.numbers)
            waitFor(process, place_.ready(own));
    }
    std::ofstream(place_.settled()).close();
    for (Process& process : processes_)
        waitFor(process, {});
    return faults_;
}

void Round::start(std::vector<int> const& numbers, bool byCommands, bool isDurable) {
    std::vector<std::string> words{"processes",
                                   "work",
                                   place_.folder().string(),
                                   byCommands ? options_.program : "library",
                                   options_.isShared ? "shared" : "alone",
                                   isDurable ? "durable" : "plain",
                                   std::to_string(random_())};
    for (int const number : numbers)
        words.push_back(std::to_string(number));
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    // A group of its own, so that a kill meets the command that it is at as well.
    ::posix_spawnattr_t attributes{};
    ::posix_spawnattr_init(&attributes);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    Process process{0, numbers, Clock::time_point::max()};
    int const error = ::posix_spawn(&process.id, "/proc/self/exe", nullptr, &attributes,
                                    arguments.data(), environ);
    ::posix_spawnattr_destroy(&attributes);
    if (error != 0) throw std::runtime_error("a process cannot be started");
    processes_.push_back(process);
}

void Round::chooseWhomToKill() {
    std::vector<std::size_t> order(processes_.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::shuffle(order.begin(), order.end(), random_);
    order.resize(order.size() / 2);
    auto const begin = Clock::now();
    for (std::size_t const chosen : order) {
        // Not before it has begun to work.
        auto const part = static_cast<int>(20 + random_() % 76);
        processes_[chosen].killedAt =
            begin + part * std::chrono::milliseconds(1000) * options_.seconds / 100;
    }
}

void Round::letThemWork() {
    for (auto const end = Clock::now() + std::chrono::seconds(options_.seconds);
         Clock::now() < end;) {
        std::this_thread::sleep_for(look);
        for (Process& process : processes_) {
            if (process.hasEnded || collect(process) || Clock::now() < process.killedAt) continue;
            killed_.insert(process.numbers.begin(), process.numbers.end());
            ::kill(-process.id, SIGKILL);
            waitFor(process, {});
        }
    }
}

void Round::waitFor(Process& process, std::filesystem::path const& file) {
    for (auto const end = Clock::now() + longestWait;; std::this_thread::sleep_for(look)) {
        if (process.hasEnded || collect(process)) return;
        if (!file.empty() && std::filesystem::exists(file)) return;
        if (Clock::now() < end) continue;
        faults_.push_back("process " + std::to_string(process.numbers[0]) + " hangs");
        ::kill(-process.id, SIGABRT);
        ::kill(-process.id, SIGKILL);
        int status = 0;
        ::waitpid(process.id, &status, 0);
        process.hasEnded = true;
        return;
    }
}

bool Round::collect(Process& process) {
    int status = 0;
    if (::waitpid(process.id, &status, WNOHANG) != process.id) return false;
    process.hasEnded = true;
    bool const wasKilled = killed_.count(process.numbers[0]) != 0;
    if (status != 0 && !wasKilled) {
        faults_.push_back("process " + std::to_string(process.numbers[0]) + " ended with status " +
                          std::to_string(status));
    }
    return true;
}

}  // namespace qbprocesses
