#pragma once

#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace qbbench {

/// Two benchmarks, and the aim for the ratio between their figures.
struct Row {
    std::string work;
    std::string against;
    std::string measured;  ///< Name of a benchmark, with its arguments as in "name/100".
    std::string base;
    std::optional<double> aim;  ///< None: measured without an aim.
};

/// The table that a run ends in. The figure of a benchmark is the median of its repetitions: the
/// counter "figure" where it sets one, else the time of an iteration in nanoseconds, divided by the
/// counter "per" where it sets that.
class Table : public benchmark::BenchmarkReporter {
public:
    void add(Row const& row) { rows_.push_back(row); }

    bool ReportContext(Context const&) override { return true; }
    void ReportRuns(std::vector<Run> const& runs) override;
    void Finalize() override;

    /// Rows whose benchmarks were filtered out are left out.
    void print(std::ostream& to) const;
    void writeJson(std::ostream& to) const;
    bool hasErrors() const { return hasErrors_; }

private:
    /// None if one of the two did not run.
    std::optional<double> ratio(Row const& row) const;
    double median(std::string const& benchmark) const;

    std::vector<Row> rows_;
    std::map<std::string, std::vector<double>> figures_;
    bool hasErrors_ = false;
};

// The families: each registers its benchmarks and its rows.
void addReads(Table& table);
void addSets(Table& table);
void addSaves(Table& table);
void addShared(Table& table);
void addLoads(Table& table);
void addStart(Table& table);
/// Whether the files that the loads read are plain. To be asked before the first benchmark.
std::string plainFiles();
void addMemory(Table& table);
void addGrowth(Table& table);
void addReaders(Table& table);

}  // namespace qbbench
