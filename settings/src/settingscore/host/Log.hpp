#pragma once

#include <string>
#include <utility>

#include <settingscore/host/HostApi.hpp>

namespace qf::log {

/// True if records of this severity are kept. Off by default.
QBHOST_API bool enabled(std::string const& logger, int severity);
/// Hands a record on, whether or not it is kept.
QBHOST_API void write(std::string const& logger, int severity, std::string const& text);

/// A named logger.
template <class Char>
class basic_diagnostic_logger {
public:
    /// A logger of that name.
    explicit basic_diagnostic_logger(std::string name) : name_(std::move(name)) {}
    /// True if records of this severity are kept.
    bool is_enabled(int severity) const { return enabled(name_, severity); }
    /// Writes a record.
    void record(int severity, std::basic_string<Char> const& text) const {
        write(name_, severity, text);
    }

private:
    std::string name_;
};

}  // namespace qf::log
