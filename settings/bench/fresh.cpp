// The first use of a product in a process that has done little before: there memory and pages cost
// most.

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "Table.hpp"
#include "World.hpp"

namespace qbbench {

namespace {

Files const& smallFiles() {
    static Files const files({1, 0, 1, false});
    return files;
}

/// A folder with both products: "p0" is the large one, "small" the other.
std::string toolboxWith(Files const& large) {
    namespace fs = std::filesystem;
    fs::path const small = fs::path(large.factoryDir()) / "small";
    if (!fs::exists(small)) {
        fs::create_directories(small);
        std::string text = qbtest::readFile(smallFiles().factoryFile());
        text.replace(text.find("\"p0\""), 4, "\"small\"");
        qbtest::writeFile(small / "small.settings", text);
    }
    return large.factoryDir();
}

/// What the program prints; 0 if it fails.
double numberFrom(std::string const& command) {
    std::FILE* const pipe = ::popen(command.c_str(), "r");
    if (!pipe) return 0;
    std::array<char, 64> line{};
    bool const isRead = std::fgets(line.data(), line.size(), pipe) != nullptr;
    return ::pclose(pipe) == 0 && isRead ? std::strtod(line.data(), nullptr) : 0;
}

void fresh(benchmark::State& state, std::string const& command) {
    for (auto _ : state) {
        double const nanoseconds = numberFrom(command);
        if (nanoseconds == 0) state.SkipWithError("the fresh process failed");
        state.SetIterationTime(nanoseconds * 1e-9);
    }
}

}  // namespace

void addFreshProcesses(Table& table, Files const& files) {
    std::string const program = QBBENCH_FIRST_PROGRAM;
    std::string const store = "SETTINGS_FACTORYDIR='" + toolboxWith(files) +
                              "' SETTINGS_USERDIR='" + files.userDir() + "' " + program +
                              " store small p0";
    std::string const tree =
        program + " tree '" + smallFiles().factoryFile() + "' '" + files.factoryFile() + "'";
    int const runs = 20;
    auto const add = [&](char const* name, std::string const& command) {
        benchmark::RegisterBenchmark(name,
                                     [command](benchmark::State& state) { fresh(state, command); })
            ->UseManualTime()
            ->Iterations(runs);
    };
    add("freshStore", store);
    add("freshTree", tree);
    table.add({"the same, each in a fresh process that has read one small file", "the same",
               "freshStore", "freshTree", 0.6});
}

}  // namespace qbbench
