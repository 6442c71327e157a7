#pragma once

#include <settingscore/host/UString.hpp>

namespace qbsettings {

/// Keeps other instances of this program from writing while this lives: each writes whole products
/// from its own memory, so that of two at once the later would undo the earlier one's change. The
/// lock is advisory, on the file ".qbsettings.lock" of the user directory, which is made if it is
/// missing and stays; it ends with the process at the latest.
class WriteLock {
public:
    /// Waits for the others. @throws Failure
    explicit WriteLock(qf::ustring const& userDirectory);
    ~WriteLock();
    WriteLock(WriteLock const&) = delete;
    WriteLock& operator=(WriteLock const&) = delete;

private:
    int descriptor_ = -1;
};

}  // namespace qbsettings
