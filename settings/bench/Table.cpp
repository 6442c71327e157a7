#include "Table.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>

#include <nlohmann/json.hpp>

namespace qbbench {

namespace {

std::string nameOf(benchmark::BenchmarkReporter::Run const& run) {
    std::string name = run.run_name.function_name;
    for (std::string const& part : {run.run_name.args, run.run_name.threads}) {
        if (!part.empty() && part != "threads:1") name += "/" + part;
    }
    return name;
}

double figureOf(benchmark::BenchmarkReporter::Run const& run) {
    auto const own = run.counters.find("figure");
    if (own != run.counters.end()) return own->second;
    auto const per = run.counters.find("per");
    return run.GetAdjustedRealTime() / (per == run.counters.end() ? 1.0 : per->second.value);
}

std::string text(double number) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer,
                  number < 10    ? "%.2f"
                  : number < 100 ? "%.1f"
                                 : "%.0f",
                  number);
    return buffer;
}

std::string verdict(std::optional<double> const& aim, double ratio) {
    if (!aim) return "no aim";
    return ratio <= *aim ? "met" : "MISSED";
}

}  // namespace

void Table::ReportRuns(std::vector<Run> const& runs) {
    for (Run const& run : runs) {
        if (run.error_occurred) {
            std::cerr << nameOf(run) << ": " << run.error_message << '\n';
            hasErrors_ = true;
        } else if (run.run_type == Run::RT_Iteration) {
            figures_[nameOf(run)].push_back(figureOf(run));
        }
    }
    // One repetition of one benchmark; somebody may be waiting.
    std::cerr << '.' << std::flush;
}

void Table::Finalize() { std::cerr << std::endl; }

double Table::median(std::string const& benchmark) const {
    std::vector<double> figures = figures_.at(benchmark);
    std::sort(figures.begin(), figures.end());
    std::size_t const middle = figures.size() / 2;
    if (figures.size() % 2 == 1) return figures[middle];
    return (figures[middle - 1] + figures[middle]) / 2;
}

std::optional<double> Table::ratio(Row const& row) const {
    if (figures_.count(row.measured) == 0 || figures_.count(row.base) == 0) return std::nullopt;
    return median(row.measured) / median(row.base);
}

void Table::print(std::ostream& to) const {
    using Line = std::array<std::string, 7>;
    std::vector<Line> lines{{"Work", "Measured against", "Figure", "Base", "Ratio", "Aim", ""},
                            {"---", "---", "---", "---", "---", "---", "---"}};
    for (Row const& row : rows_) {
        if (auto const value = ratio(row)) {
            lines.push_back({row.work, row.against, text(median(row.measured)),
                             text(median(row.base)), text(*value), row.aim ? text(*row.aim) : "",
                             verdict(row.aim, *value)});
        }
    }
    std::array<std::size_t, 7> widths{};
    for (Line const& line : lines) {
        for (std::size_t i = 0; i < line.size(); ++i)
            widths[i] = std::max(widths[i], line[i].size());
    }
    for (Line const& line : lines) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            char const fill = line[i] == "---" ? '-' : ' ';
            to << "| " << (fill == '-' ? "" : line[i])
               << std::string(widths[i] - (fill == '-' ? 0 : line[i].size()), fill) << ' ';
        }
        to << "|\n";
    }
    to << "Figures are nanoseconds (of one key where the work says so) or bytes.\n";
}

void Table::writeJson(std::ostream& to) const {
    nlohmann::ordered_json rows = nlohmann::ordered_json::array();
    for (Row const& row : rows_) {
        auto const value = ratio(row);
        if (!value) continue;
        nlohmann::ordered_json entry{{"work", row.work},
                                     {"against", row.against},
                                     {"figure", median(row.measured)},
                                     {"base", median(row.base)},
                                     {"ratio", *value},
                                     {"repetitions", figures_.at(row.measured).size()}};
        if (row.aim) {
            entry["aim"] = *row.aim;
            entry["met"] = *value <= *row.aim;
        }
        rows.push_back(entry);
    }
    to << rows.dump(2) << '\n';
}

}  // namespace qbbench
