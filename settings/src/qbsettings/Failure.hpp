#pragma once

#include <stdexcept>
#include <string>

namespace qbsettings {

/// What the program gives back to the shell.
enum ExitStatus { done = 0, refused = 1, wrongUsage = 2, nothingThere = 3 };

/// Ends a command with one line on standard error.
class Failure : public std::runtime_error {
public:
    Failure(ExitStatus status, std::string const& message)
        : std::runtime_error(message), status_(status) {}
    explicit Failure(std::string const& message) : Failure(refused, message) {}
    ExitStatus status() const { return status_; }

private:
    ExitStatus status_;
};

/// Prints one line on standard error, begun with the program's name.
void complain(std::string const& message);

/// The same for text that comes in pieces, as the host's console gives it: whole lines are printed,
/// what is left when the next complaint comes.
void complainInPieces(std::string const& text);

/// Prints what is left of the pieces.
void finishComplaints();

}  // namespace qbsettings
