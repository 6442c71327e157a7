// The program as a whole, from its start to its end.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Table.hpp"
#include "World.hpp"

namespace qbbench {

namespace {

Files const& files() {
    static Files const products({200, 0, 5, false});
    return products;
}

/// Runs a program to its end; false if it fails.
bool run(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    int const error =
        ::posix_spawn(&child, words[0].c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    return error == 0 && ::waitpid(child, &status, 0) == child && status == 0;
}

void programStart(benchmark::State& state) {
    std::vector<std::string> const words{QBBENCH_PROGRAM, "--factory-dir",   files().factoryDir(),
                                         "--user-dir",    files().userDir(), "get",
                                         "p100.k3"};
    for (auto _ : state) {
        if (!run(words)) state.SkipWithError("the program failed");
    }
}

void versionStart(benchmark::State& state) {
    for (auto _ : state) {
        if (!run({QBBENCH_PROGRAM, "--version"})) state.SkipWithError("the program failed");
    }
}

void emptyStart(benchmark::State& state) {
    for (auto _ : state) {
        if (!run({QBBENCH_EMPTY_PROGRAM})) state.SkipWithError("the empty program failed");
    }
}

void bareStart(benchmark::State& state) {
    std::vector<std::string> const words{QBBENCH_BARE_PROGRAM, QBBENCH_SCHEMA,
                                         files().factoryFile(100)};
    for (auto _ : state) {
        if (!run(words)) state.SkipWithError("the bare parse failed");
    }
}

}  // namespace

void addStart(Table& table) {
    benchmark::RegisterBenchmark("programStart", programStart)->UseRealTime();
    benchmark::RegisterBenchmark("bareStart", bareStart)->UseRealTime();
    table.add({"start of the program, get of one key among 200 products",
               "process start and bare parse", "programStart", "bareStart", 2});
    benchmark::RegisterBenchmark("versionStart", versionStart)->UseRealTime();
    benchmark::RegisterBenchmark("emptyStart", emptyStart)->UseRealTime();
    table.add({"the same", "empty C++ program", "programStart", "emptyStart", 1.8});
    table.add({"program, --version", "empty C++ program", "versionStart", "emptyStart", 1.3});
}

}  // namespace qbbench
