// Several processes that set, unset, add, remove, batch and refresh at once, on products that they
// share and on their own, by the library and by the program; half of them are killed at random
// moments. What is left is held against what each said that it had done. The program ends with
// status 1 if anything was lost, or, without the mode of shared saves, if nothing was.
// Usage: processes run [--program PROGRAM] [--rounds N] [--seconds N] [--processes N]
//                      [--threads N] [--seed N] [--no-kills] [--without]

#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <thread>

#include <settingscore/persistence/DurableSaving.hpp>
#include <settingscore/persistence/SharedSaving.hpp>
#include <support/TempFolder.hpp>

#include "Checker.hpp"
#include "Heard.hpp"
#include "Worker.hpp"

namespace qbprocesses {

namespace {

using Words = std::vector<std::string>;

void waitForFile(std::filesystem::path const& file) {
    while (::access(file.c_str(), F_OK) != 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

/// PLACE PROGRAM|library shared|alone durable|plain SEED NUMBER...
int work(Words const& words) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    Place const place(words.at(0));
    place.enter();
    std::filesystem::current_path(place.folder());
    bool const byCommands = words.at(1) != "library";
    if (words.at(2) == "shared") settings::core::turnOnSharedSaving(std::chrono::minutes(1));
    if (words.at(3) == "durable") settings::core::turnOnDurableSaving();
    std::uint64_t const seed = std::stoull(words.at(4));
    std::unique_ptr<Heard> const heard = byCommands ? nullptr : std::make_unique<Heard>();
    std::vector<std::unique_ptr<Worker>> workers;
    std::vector<int> numbers;
    for (std::size_t i = 5; i < words.size(); ++i) {
        int const number = numbers.emplace_back(std::stoi(words[i]));
        std::string const ownKey = Place::key(Place::ownGroups(number)[0], 'k', 0);
        workers.push_back(std::make_unique<Worker>(
            place, number, seed + i,
            byCommands ? makeCommandHand(words[1]) : makeLibraryHand(ownKey)));
    }
    std::vector<std::thread> threads;
    for (std::size_t i = 1; i < workers.size(); ++i)
        threads.emplace_back([&worker = *workers[i]] { worker.run(); });
    workers[0]->run();
    for (std::thread& thread : threads)
        thread.join();
    for (int const number : numbers)
        std::ofstream(place.ready(number)).close();
    waitForFile(place.settled());
    workers[0]->settle();
    if (!heard) return 0;
    for (int const number : numbers)
        writeValues(place.state(number), valuesOf(settings::core::BlessedZcrID, "user"));
    if (heard->state() == valuesOf(settings::core::BlessedZcrID, "")) return 0;
    std::cerr << "the events do not lead to what is in force\n";
    return 1;
}

int run(Words const& words) {
    Options options;
    int rounds = 1;
    for (std::size_t i = 0; i < words.size(); ++i) {
        auto const number = [&] { return std::stoi(words.at(++i)); };
        if (words[i] == "--program") {
            options.program = words.at(++i);
        } else if (words[i] == "--rounds") {
            rounds = number();
        } else if (words[i] == "--seconds") {
            options.seconds = number();
        } else if (words[i] == "--processes") {
            options.processes = number();
        } else if (words[i] == "--threads") {
            options.threads = number();
        } else if (words[i] == "--seed") {
            options.seed = std::stoull(words.at(++i));
        } else if (words[i] == "--no-kills") {
            options.kills = false;
        } else if (words[i] == "--without") {
            options.isShared = false;
        } else {
            throw std::runtime_error("what is '" + words[i] + "'?");
        }
    }
    std::size_t lost = 0;
    for (int number = 1; number <= rounds; ++number, ++options.seed) {
        auto folder = std::make_unique<qbtest::TempFolder>();
        Place const place(folder->path());
        Round round(place, options);
        std::vector<std::string> faults = round.run();
        Checker checker(place, options, round.killed());
        for (std::string const& one : checker.run())
            faults.push_back(one);
        lost += faults.size();
        std::cout << "round " << number << ", seed " << options.seed << ": " << options.processes
                  << " processes, " << checker.done() << " operations done, "
                  << round.killed().size() << " killed, " << faults.size() << " lost" << std::endl;
        if (!options.isShared || faults.empty()) continue;
        for (std::string const& fault : faults)
            std::cout << "  " << fault << '\n';
        std::cout << "  the files are kept in " << place.folder().string() << std::endl;
        [[maybe_unused]] auto const* const kept = folder.release();
    }
    return (lost == 0) == options.isShared ? 0 : 1;
}

}  // namespace

}  // namespace qbprocesses

int main(int argc, char** argv) try {
    qbprocesses::Words const words(argv + std::min(argc, 2), argv + argc);
    std::string const what = argc > 1 ? argv[1] : "";
    if (what == "work") return qbprocesses::work(words);
    if (what == "run") return qbprocesses::run(words);
    std::cerr << "Usage: processes run [OPTION...]\n";
    return 2;
} catch (std::exception const& error) {
    std::cerr << "processes: " << error.what() << '\n';
    return 2;
}
