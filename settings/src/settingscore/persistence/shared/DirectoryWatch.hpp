#pragma once

#include <settingscore/host/Filesystem.hpp>

namespace settings::core {

/// A file descriptor that becomes readable when something in a directory changes, or when the
/// directory is made. Sees what this machine does, and not what another one does to a directory
/// that both share.
class DirectoryWatch {
public:
    DirectoryWatch();
    ~DirectoryWatch();
    DirectoryWatch(DirectoryWatch const&) = delete;
    DirectoryWatch& operator=(DirectoryWatch const&) = delete;

    /// The same one for the whole life; -1 if the system has none left.
    int descriptor() const { return descriptor_; }
    /// From now on this directory is watched, or the nearest one above it that is there. To be
    /// called again after each change, so that it is found when it is made.
    void follow(qf::filesystem::path const& directory);
    /// Reads what is there to be read, so that the descriptor waits for the next change.
    void drain();

private:
    int watchNearest(qf::filesystem::path const& directory) const;

    int descriptor_;
    int watch_ = -1;
};

}  // namespace settings::core
