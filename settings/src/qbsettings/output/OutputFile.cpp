#include <qbsettings/output/OutputFile.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>

namespace qbsettings {

namespace fs = qf::filesystem;

OutputFile::OutputFile(std::string const& target, bool overwrite)
    : target_(fs::absolute(fs::from_native(target), fs::path())), overwrite_(overwrite) {
    struct ::stat present {};
    if (!overwrite && ::lstat(target_.native().c_str(), &present) == 0) fail(EEXIST);
    temporary_ = (target_.parent_path() / u".qbsettings-XXXXXX").native();
    int const descriptor = ::mkstemp(temporary_.data());
    if (descriptor < 0) {
        int const error = errno;
        temporary_.clear();
        fail(error);
    }
    takePermissions(descriptor);
    ::close(descriptor);
}

OutputFile::~OutputFile() {
    if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

qf::ustring OutputFile::path() const { return fs::from_native(temporary_).str(); }

void OutputFile::commit() {
    int const descriptor = ::open(temporary_.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) fail(errno);
    int const synced = ::fsync(descriptor);
    int const error = errno;
    ::close(descriptor);
    if (synced != 0) fail(error);
    putInPlace();
}

void OutputFile::putInPlace() {
    std::string const target = target_.native();
    if (!overwrite_) {
        // A link, unlike a rename, never replaces what somebody put there in the meantime.
        if (::link(temporary_.c_str(), target.c_str()) == 0) return;
        bool const unsupported = errno == EPERM || errno == ENOTSUP || errno == ENOSYS;
        if (!unsupported) fail(errno);
    }
    if (std::rename(temporary_.c_str(), target.c_str()) != 0) fail(errno);
    temporary_.clear();
}

void OutputFile::takePermissions(int descriptor) const {
    struct ::stat present {};
    if (::stat(target_.native().c_str(), &present) == 0) {
        ::fchmod(descriptor, present.st_mode & 07777U);
    } else {
        mode_t const mask = ::umask(0);
        ::umask(mask);
        ::fchmod(descriptor, 0666U & ~mask);
    }
}

void OutputFile::fail(int errorNumber) const {
    if (errorNumber == EEXIST) {
        throw Failure(pathText(target_.str()) + " already exists; use --force to replace it");
    }
    throw Failure(pathText(target_.str()) + " cannot be written: " + std::strerror(errorNumber));
}

}  // namespace qbsettings
