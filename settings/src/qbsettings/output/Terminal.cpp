#include <qbsettings/output/Terminal.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <utility>

namespace qbsettings {

namespace {

constexpr std::size_t manySteps = 20;

constexpr std::chrono::seconds longTime(1);

bool isProgressShown = false;
bool isProgressOff = false;

bool takesControls() {
    char const* const terminal = std::getenv("TERM");
    return terminal && *terminal && std::string(terminal) != "dumb";
}

/// A line would be drawn into what the reader of a pipe prints.
bool isOutputPiped() {
    struct ::stat output {};
    return ::fstat(STDOUT_FILENO, &output) == 0 && S_ISFIFO(output.st_mode);
}

}  // namespace

bool isOutputTerminal() { return ::isatty(STDOUT_FILENO) == 1; }

bool isErrorTerminal() { return ::isatty(STDERR_FILENO) == 1; }

bool wantsColours() {
    char const* const noColour = std::getenv("NO_COLOR");
    return takesControls() && !(noColour && *noColour);
}

bool eraseProgress() {
    if (!isProgressShown) return false;
    std::cerr << "\r\x1b[K" << std::flush;
    isProgressShown = false;
    return true;
}

void Progress::turnOff() { isProgressOff = true; }

Progress::Progress(std::string what, std::size_t steps)
    : what_(std::move(what)),
      steps_(steps),
      active_(!isProgressOff && isErrorTerminal() && takesControls() && !isOutputPiped()) {}

void Progress::step() {
    ++step_;
    bool const isLong = std::chrono::steady_clock::now() - begin_ >= longTime;
    if (!active_ || (steps_ <= manySteps && !isLong)) return;
    std::cerr << "\r\x1b[K" + what_ + " " + std::to_string(step_) + " of " + std::to_string(steps_)
              << std::flush;
    isProgressShown = true;
}

}  // namespace qbsettings
