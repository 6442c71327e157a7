#include <qbsettings/Terminal.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <utility>

namespace qbsettings {

namespace {

constexpr std::size_t manySteps = 20;

bool isProgressShown = false;

bool takesControls() {
    char const* const terminal = std::getenv("TERM");
    return terminal && *terminal && std::string(terminal) != "dumb";
}

bool wantsColours() {
    char const* const noColour = std::getenv("NO_COLOR");
    return takesControls() && !(noColour && *noColour);
}

/// A line would be drawn into the midst of what the reader of a pipe prints.
bool isOutputPiped() {
    struct ::stat output {};
    return ::fstat(STDOUT_FILENO, &output) == 0 && S_ISFIFO(output.st_mode);
}

/// In characters, without regard to wide ones.
std::size_t widthOf(std::string const& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
    }));
}

char const* colourOf(std::string const& level) {
    if (level == "session") return "33";
    if (level == "user") return "32";
    if (level == "factory") return "36";
    return level == "-" ? "2" : "35";
}

}  // namespace

bool isOutputTerminal() { return ::isatty(STDOUT_FILENO) == 1; }

void printAligned(std::vector<std::vector<std::string>> const& rows) {
    constexpr std::size_t level = 2;
    bool const colours = wantsColours();
    std::vector<std::size_t> widths;
    for (auto const& row : rows) {
        widths.resize(row.size());
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], widthOf(row[i]));
    }
    for (auto const& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            bool const coloured = colours && i == level;
            if (coloured) line += std::string("\x1b[") + colourOf(row[i]) + "m";
            line += row[i];
            if (coloured) line += "\x1b[0m";
            if (i + 1 < row.size()) line.append(widths[i] - widthOf(row[i]) + 2, ' ');
        }
        std::cout << line << '\n';
    }
}

void printLine(std::string const& line) {
    bool const interleaved = isProgressShown;
    eraseProgress();
    std::cout << line << '\n';
    if (interleaved) std::cout.flush();
}

void eraseProgress() {
    if (isProgressShown) std::cerr << "\r\x1b[K" << std::flush;
    isProgressShown = false;
}

Progress::Progress(std::string what, std::size_t steps)
    : what_(std::move(what)),
      steps_(steps),
      active_(steps > manySteps && ::isatty(STDERR_FILENO) == 1 && takesControls() &&
              !isOutputPiped()) {}

void Progress::step() {
    ++step_;
    if (!active_) return;
    std::cerr << "\r\x1b[K" + what_ + " " + std::to_string(step_) + " of " + std::to_string(steps_)
              << std::flush;
    isProgressShown = true;
}

}  // namespace qbsettings
