#include <qbsettings/store/WriteLock.hpp>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>

namespace qbsettings {

namespace fs = qf::filesystem;

WriteLock::WriteLock(qf::ustring const& userDirectory) {
    try {
        fs::create_directories(userDirectory);
    } catch (fs::FileExistsError const&) {
        // The usual case.
    } catch (fs::FsysExceptionBase const& error) {
        throw Failure("the user directory " + pathText(userDirectory) +
                      " cannot be made: " + error.reason());
    }
    fs::path const file = fs::path(userDirectory) / u".qbsettings.lock";
    descriptor_ = ::open(file.native().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    int result = descriptor_ < 0 ? -1 : 0;
    if (result == 0) {
        do {
            result = ::flock(descriptor_, LOCK_EX);
        } while (result != 0 && errno == EINTR);
    }
    if (result != 0) {
        std::string const reason = std::strerror(errno);
        if (descriptor_ >= 0) ::close(descriptor_);
        throw Failure("the user directory " + pathText(userDirectory) +
                      " cannot be written to: " + reason);
    }
}

WriteLock::~WriteLock() { ::close(descriptor_); }

}  // namespace qbsettings
