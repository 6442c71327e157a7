#include <settingscore/persistence/shared/DirectoryWatch.hpp>

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace settings::core {

namespace fs = qf::filesystem;

DirectoryWatch::DirectoryWatch() : descriptor_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}

DirectoryWatch::~DirectoryWatch() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

void DirectoryWatch::follow(fs::path const& directory) {
    if (descriptor_ < 0 || directory.empty()) return;
    int const watch = watchNearest(directory);
    // A directory that was watched before has the same number again.
    if (watch_ >= 0 && watch_ != watch) ::inotify_rm_watch(descriptor_, watch_);
    watch_ = watch;
}

int DirectoryWatch::watchNearest(fs::path const& directory) const {
    constexpr std::uint32_t itself = IN_ONLYDIR | IN_DELETE_SELF | IN_MOVE_SELF;
    constexpr std::uint32_t files = IN_MOVED_TO | IN_MOVED_FROM | IN_CLOSE_WRITE | IN_DELETE;
    constexpr std::uint32_t folders = IN_CREATE | IN_MOVED_TO;
    int watch = ::inotify_add_watch(descriptor_, directory.native().c_str(), itself | files);
    fs::path nearest = directory;
    while (watch < 0 && errno == ENOENT) {
        fs::path const above = nearest.parent_path();
        if (above.empty() || above == nearest) return -1;
        watch = ::inotify_add_watch(descriptor_, above.native().c_str(), itself | folders);
        if (watch < 0) {
            nearest = above;
            continue;
        }
        // What was made before the watch began would make no event any more.
        if (::access(nearest.native().c_str(), F_OK) != 0) return watch;
        ::inotify_rm_watch(descriptor_, watch);
        nearest = directory;
        watch = ::inotify_add_watch(descriptor_, directory.native().c_str(), itself | files);
    }
    return watch;
}

void DirectoryWatch::drain() {
    if (descriptor_ < 0) return;
    std::array<char, 4096> events{};
    while (::read(descriptor_, events.data(), events.size()) > 0) {
    }
}

}  // namespace settings::core
