#pragma once

#include <settingscore/host/Filesystem.hpp>

namespace qbsettings {

/// A folder of this process that goes with the object, with all that is in it.
class TemporaryFolder {
public:
    /// @throws Failure
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(TemporaryFolder const&) = delete;
    TemporaryFolder& operator=(TemporaryFolder const&) = delete;

    qf::ustring path() const { return path_.str(); }

private:
    qf::filesystem::path path_;
};

}  // namespace qbsettings
