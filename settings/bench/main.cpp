// Measures the library against what a program would use in its place, and prints one table.
// Usage: qbbench [--json FILE] [flags of Google Benchmark]

#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "Table.hpp"

int main(int argc, char** argv) {
    // Interleaved, so that what disturbs the machine disturbs both sides of a ratio.
    std::vector<std::string> words{argv[0], "--benchmark_repetitions=15",
                                   "--benchmark_enable_random_interleaving=true",
                                   "--benchmark_min_time=0.05"};
    std::string jsonFile;
    for (int i = 1; i < argc; ++i) {
        if (std::string(argv[i]) == "--json" && i + 1 < argc) {
            jsonFile = argv[++i];
        } else {
            words.push_back(argv[i]);
        }
    }
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;

    std::string const plain = qbbench::plainFiles();
    qbbench::Table table;
    qbbench::addReads(table);
    qbbench::addSets(table);
    qbbench::addSaves(table);
    qbbench::addShared(table);
    qbbench::addLoads(table);
    qbbench::addStart(table);
    qbbench::addMemory(table);
    qbbench::addGrowth(table);
    qbbench::addReaders(table);
    benchmark::RunSpecifiedBenchmarks(&table);
    table.print(std::cout);
    std::cout << plain << '\n';
    if (!jsonFile.empty()) {
        std::ofstream file(jsonFile);
        table.writeJson(file);
        file.close();
        if (!file) {
            std::cerr << "qbbench: cannot write " << jsonFile << '\n';
            return 1;
        }
    }
    return table.hasErrors() ? 1 : 0;
}
