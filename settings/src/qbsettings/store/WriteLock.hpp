#pragma once

#include <settingscore/host/UString.hpp>

namespace qbsettings {

/// Keeps other instances of this program from writing while this lives: each writes whole products
/// from its own memory, so that of two at once the later would undo the earlier one's change. The
/// lock is advisory, on the file ".qbsettings.lock" of the user directory, which is made if it is
/// missing and stays; it ends with the process at the latest.
class WriteLock {
public:
    /// Waits for the others, for the seconds of the environment variable QBSETTINGS_LOCK_WAIT, else
    /// for 10; where a person looks on, it says after one second for whom. Follows no link and
    /// opens nothing but a regular file.
    /// @throws Failure, nothing changed
    explicit WriteLock(qf::ustring const& userDirectory);
    ~WriteLock();
    WriteLock(WriteLock const&) = delete;
    WriteLock& operator=(WriteLock const&) = delete;

private:
    int descriptor_ = -1;
};

}  // namespace qbsettings
