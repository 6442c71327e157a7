#include <qbsettings/store/WriteLock.hpp>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/output/Terminal.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>

namespace qbsettings {

namespace fs = qf::filesystem;

namespace {

constexpr char const* waitVariable = "QBSETTINGS_LOCK_WAIT";

std::chrono::seconds longestWait() {
    char const* const text = std::getenv(waitVariable);
    if (!text || !*text) return std::chrono::seconds(10);
    unsigned seconds = 0;
    char const* const end = text + std::strlen(text);
    auto const [stop, error] = std::from_chars(text, end, seconds);
    if (error != std::errc() || stop != end) {
        throw Failure(wrongUsage, std::string(waitVariable) + " takes a number of seconds, not " +
                                      inQuotes(asLine(text)));
    }
    return std::chrono::seconds(seconds);
}

/// Opens the lock file, made if it is missing; -1 and `errno` if it cannot be. A link could lead
/// anywhere, and there are files that cannot be opened without waiting.
int openRegular(fs::path const& file) {
    int const descriptor =
        ::open(file.native().c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666);
    if (descriptor < 0) return -1;
    struct ::stat status {};
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) return descriptor;
    ::close(descriptor);
    errno = EINVAL;
    return -1;
}

/// Who holds the lock of the open file, as the kernel lists it; not known in every container.
std::string holderOf(int descriptor) {
    struct ::stat status {};
    if (::fstat(descriptor, &status) == 0) {
        std::ifstream locks("/proc/locks");
        for (std::string line; std::getline(locks, line);) {
            // "1: FLOCK  ADVISORY  WRITE 4711 08:01:131 0 EOF"; one that waits has "->" behind
            // "1:".
            std::istringstream words(line);
            std::string number, kind, mode, access;
            long process = 0;
            unsigned major = 0, minor = 0;
            unsigned long inode = 0;
            char colon = 0;
            words >> number >> kind >> mode >> access >> process >> std::hex >> major >> colon >>
                minor >> colon >> std::dec >> inode;
            if (words && kind == "FLOCK" && process > 0 && inode == status.st_ino &&
                major == ::major(status.st_dev) && minor == ::minor(status.st_dev)) {
                return "process " + std::to_string(process);
            }
        }
    }
    return "another process";
}

/// False, with `errno`, if it cannot be had.
bool lockWithin(int descriptor, std::chrono::seconds longest, fs::path const& file) {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::seconds patience(1);
    Clock::time_point const begin = Clock::now();
    bool isTold = false;
    while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR) continue;
        if (errno != EWOULDBLOCK) return false;
        auto const waited = Clock::now() - begin;
        if (!isTold && longest > patience && waited >= patience && isErrorTerminal()) {
            complain("waiting for " + holderOf(descriptor) + ", which holds " +
                     pathText(file.str()));
            isTold = true;
        }
        if (waited >= longest) {
            errno = EWOULDBLOCK;
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

}  // namespace

WriteLock::WriteLock(qf::ustring const& userDirectory) {
    std::chrono::seconds const longest = longestWait();
    try {
        fs::create_directories(userDirectory);
    } catch (fs::FileExistsError const&) {
        // The usual case.
    } catch (fs::FsysExceptionBase const& error) {
        throw Failure("the user directory " + pathText(userDirectory) +
                      " cannot be created: " + error.reason());
    }
    fs::path const file = fs::path(userDirectory) / u".qbsettings.lock";
    descriptor_ = openRegular(file);
    if (descriptor_ >= 0 && lockWithin(descriptor_, longest, file)) return;
    int const error = errno;
    std::string message;
    if (error == EWOULDBLOCK && descriptor_ >= 0) {
        message = holderOf(descriptor_) + " holds " + pathText(file.str()) +
                  ", and did not release it within " + std::to_string(longest.count()) +
                  " s; nothing was changed";
    } else if (error == ELOOP || error == EINVAL || error == EISDIR || error == ENXIO) {
        message =
            "the lock file " + pathText(file.str()) + " is not a regular file; nothing was changed";
    } else {
        message = "the user directory " + pathText(userDirectory) +
                  " cannot be written to: " + std::strerror(error);
    }
    if (descriptor_ >= 0) ::close(descriptor_);
    throw Failure(message);
}

WriteLock::~WriteLock() { ::close(descriptor_); }

}  // namespace qbsettings
