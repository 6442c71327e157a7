#pragma once

#include <chrono>
#include <stdexcept>
#include <string>

#include <settingscore/host/Filesystem.hpp>

namespace settings::core {

/// The lock of a user directory could not be had.
class FileLockFailure : public std::runtime_error {
public:
    FileLockFailure(int errorNumber, std::string const& reason)
        : std::runtime_error(reason), errorNumber_(errorNumber) {}
    int errorNumber() const { return errorNumber_; }

private:
    int errorNumber_;
};

/// Keeps other processes that save in the same way, and other threads of this one, from replacing a
/// file of a user directory while it lives: an advisory lock of the system on the file
/// ".qbsettings.lock" there, which is made if it is missing, for its owner alone, and never
/// removed. It ends with the process at the latest. A child that is forked meanwhile does not have
/// it.
class FileLock {
public:
    /// Waits for the holder no longer than told. Follows no link and opens nothing but a regular
    /// file; a file system without locks fails at once.
    /// @throws FileLockFailure, with a sentence that names the file
    FileLock(qf::filesystem::path const& folder, std::chrono::milliseconds longest);
    ~FileLock();
    FileLock(FileLock const&) = delete;
    FileLock& operator=(FileLock const&) = delete;

private:
    int descriptor_;
};

}  // namespace settings::core
