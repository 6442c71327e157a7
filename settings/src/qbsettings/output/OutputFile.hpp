#pragma once

#include <string>

#include <settingscore/host/Filesystem.hpp>

namespace qbsettings {

/// A file that is made whole or not at all: it is written under a temporary name beside the target
/// and put in the target's place by `commit`. Left without it, nothing is changed.
class OutputFile {
public:
    /// @throws Failure if the target is there already and `overwrite` is false, or if nothing can
    /// be written beside it
    OutputFile(std::string const& target, bool overwrite);
    ~OutputFile();
    OutputFile(OutputFile const&) = delete;
    OutputFile& operator=(OutputFile const&) = delete;

    /// Absolute path of the file to write.
    qf::ustring path() const;
    /// Brings the file to the disk and puts it in place. @throws Failure, the target as it was
    void commit();

private:
    [[noreturn]] void fail(int errorNumber) const;
    void takePermissions(int descriptor) const;
    void putInPlace();

    qf::filesystem::path target_;
    std::string temporary_;
    bool overwrite_;
};

}  // namespace qbsettings
