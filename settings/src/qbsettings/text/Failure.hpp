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

}  // namespace qbsettings
