#pragma once

#include <cstdint>
#include <string>
#include <tuple>

#include <settingscore/host/Filesystem.hpp>

namespace settings::core {

/// Tells one version of a file from another, without its content: each save makes a new file, and
/// an editor that writes in place moves a time. A file that is not there is a version as well.
struct FileStamp {
    bool exists = false;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t modified = 0;  ///< Nanoseconds since 1970.
    std::int64_t changed = 0;   ///< The same of the inode, which nobody can set.

    /// @throws FsysExceptionBase if it cannot be found out
    static FileStamp of(qf::filesystem::path const& file) { return of(file.native()); }
    /// The same by the name that the system knows.
    static FileStamp of(std::string const& native);

    /// True for a file that was only renamed since.
    bool isSameFileAs(FileStamp const& other) const {
        return exists && other.exists && device == other.device && inode == other.inode &&
               size == other.size && modified == other.modified;
    }
};

inline bool operator==(FileStamp const& a, FileStamp const& b) {
    auto const all = [](FileStamp const& stamp) {
        return std::tie(stamp.exists, stamp.device, stamp.inode, stamp.size, stamp.modified,
                        stamp.changed);
    };
    return all(a) == all(b);
}
inline bool operator!=(FileStamp const& a, FileStamp const& b) { return !(a == b); }

}  // namespace settings::core
