#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// What the program does more where a person looks on.
namespace qbsettings {

/// True if standard output is a terminal.
bool isOutputTerminal();

/// Prints rows of name, type, level and value in columns, the level in a colour of its own unless
/// the environment forbids it (NO_COLOR, or TERM that is "dumb" or unset).
void printAligned(std::vector<std::vector<std::string>> const& rows);

/// Prints a line on standard output, in step with the progress line.
void printLine(std::string const& line);

/// Takes the progress line off the terminal until its next step.
void eraseProgress();

/// A line on standard error that tells how far a command with many steps is, if that is a terminal.
/// It is gone when the object is.
class Progress {
public:
    Progress(std::string what, std::size_t steps);
    ~Progress() { eraseProgress(); }
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    void step();

private:
    std::string what_;
    std::size_t steps_;
    std::size_t step_ = 0;
    bool active_;
};

}  // namespace qbsettings
