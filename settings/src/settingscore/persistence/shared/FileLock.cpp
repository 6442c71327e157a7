#include <settingscore/persistence/shared/FileLock.hpp>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <sstream>
#include <thread>

#include <settingscore/host/I18n.hpp>

namespace settings::core {

namespace fs = qf::filesystem;

namespace {

[[noreturn]] void fail(int error, fs::path const& file, std::string const& what) {
    throw FileLockFailure(error, "the lock file " + qf::i18n::to_string(file.str()) + " " + what);
}

std::string textOf(int error, fs::path const& file) {
    return fs::FsysExceptionBase("cannot lock", file.str(), error).reason();
}

/// A link could lead anywhere, and there are files that cannot be opened without waiting.
int openRegular(fs::path const& file) {
    constexpr ::mode_t ownerOnly = 0600;
    int const descriptor = ::open(
        file.native().c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, ownerOnly);
    if (descriptor < 0) {
        int const error = errno;
        bool const isOther = error == ELOOP || error == EISDIR || error == ENXIO;
        fail(error, file,
             isOther ? "is not a regular file" : "cannot be opened: " + textOf(error, file));
    }
    struct ::stat status {};
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) return descriptor;
    ::close(descriptor);
    fail(EINVAL, file, "is not a regular file");
}

/// The name of a program, as the system lists it; empty if it does not tell.
std::string programOf(long process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

/// Who holds the lock of the open file; not known in every container, nor on another machine.
std::string holderOf(int descriptor) {
    struct ::stat status {};
    if (::fstat(descriptor, &status) == 0) {
        std::ifstream locks("/proc/locks");
        for (std::string line; std::getline(locks, line);) {
            // "1: FLOCK  ADVISORY  WRITE 4711 08:01:131 0 EOF"; one that waits has "->" behind
            // "1:".
            std::istringstream words(line);
            words.imbue(std::locale::classic());
            std::string number, kind, mode, access;
            long process = 0;
            unsigned major = 0, minor = 0;
            unsigned long inode = 0;
            char colon = 0;
            words >> number >> kind >> mode >> access >> process >> std::hex >> major >> colon >>
                minor >> colon >> std::dec >> inode;
            if (!words || kind != "FLOCK" || process <= 0 || inode != status.st_ino ||
                major != ::major(status.st_dev) || minor != ::minor(status.st_dev)) {
                continue;
            }
            std::string const program = programOf(process);
            return "process " + std::to_string(process) +
                   (program.empty() ? "" : " (" + program + ")");
        }
    }
    return "another process";
}

void lockWithin(int descriptor, fs::path const& file, std::chrono::milliseconds longest) {
    using Clock = std::chrono::steady_clock;
    // There is no lock with a time limit. Saves are short: the first looks follow quickly.
    constexpr std::chrono::microseconds longestPause(10000);
    std::chrono::microseconds pause(100);
    Clock::time_point const begin = Clock::now();
    while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR) continue;
        if (errno == ENOLCK || errno == EOPNOTSUPP) {
            fail(errno, file, "cannot be locked: its file system has no locks");
        }
        if (errno != EWOULDBLOCK) fail(errno, file, "cannot be locked: " + textOf(errno, file));
        if (Clock::now() - begin >= longest) {
            fail(EWOULDBLOCK, file,
                 "is held by " + holderOf(descriptor) + ", which did not release it within " +
                     std::to_string(longest.count()) + " ms");
        }
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, longestPause);
    }
}

}  // namespace

FileLock::FileLock(fs::path const& folder, std::chrono::milliseconds longest) : descriptor_(-1) {
    fs::path const file = folder / u".qbsettings.lock";
    descriptor_ = openRegular(file);
    try {
        lockWithin(descriptor_, file, longest);
    } catch (...) {
        ::close(descriptor_);
        throw;
    }
}

FileLock::~FileLock() {
    // Not by closing alone: a child that was forked meanwhile has the descriptor as well.
    ::flock(descriptor_, LOCK_UN);
    ::close(descriptor_);
}

}  // namespace settings::core
