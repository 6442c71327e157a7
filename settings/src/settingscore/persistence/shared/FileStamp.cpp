#include <settingscore/persistence/shared/FileStamp.hpp>

#include <sys/stat.h>

#include <cerrno>

namespace settings::core {

namespace {

std::int64_t nanoseconds(::timespec const& time) {
    constexpr std::int64_t perSecond = 1000000000;
    return static_cast<std::int64_t>(time.tv_sec) * perSecond + time.tv_nsec;
}

}  // namespace

FileStamp FileStamp::of(std::string const& native) {
    struct ::stat status {};
    if (::stat(native.c_str(), &status) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) return {};
        throw qf::filesystem::FsysExceptionBase("cannot look at",
                                                qf::filesystem::from_native(native).str(), errno);
    }
    FileStamp stamp;
    stamp.exists = true;
    stamp.device = status.st_dev;
    stamp.inode = status.st_ino;
    stamp.size = status.st_size;
    stamp.modified = nanoseconds(status.st_mtim);
    stamp.changed = nanoseconds(status.st_ctim);
    return stamp;
}

}  // namespace settings::core
