#pragma once

#include <chrono>
#include <cstddef>
#include <string>

/// What the program does more where a person looks on.
namespace qbsettings {

/// True if standard output is a terminal.
bool isOutputTerminal();
/// The same of standard error.
bool isErrorTerminal();

/// False if the environment forbids colours: NO_COLOR, or TERM that is "dumb" or unset.
bool wantsColours();

/// Takes the progress line off the terminal until its next step; false if there was none.
bool eraseProgress();

/// A line on standard error that shows how far a command is, if that is a terminal and there are
/// many steps, or if they last for more than a second. It is gone when the object is.
class Progress {
public:
    Progress(std::string what, std::size_t steps);
    ~Progress() { eraseProgress(); }
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    void step();

    /// From now on there is none.
    static void turnOff();

private:
    std::string what_;
    std::size_t steps_;
    std::size_t step_ = 0;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    bool active_;
};

}  // namespace qbsettings
