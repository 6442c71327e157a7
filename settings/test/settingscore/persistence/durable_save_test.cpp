#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fstream>

#include <settingscore/persistence/DurableSaving.hpp>
#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/tree/ProductWorld.hpp>

// The calls that bring bytes and names to the disk go through this file, so that they can be seen
// and made to fail; elsewhere in the program they do what they always do.

namespace {

struct Calls {
    /// "sync FILE", "close FILE" and "rename FILE FILE", of files below the watched folder, without
    /// that folder and with TEMP for the temporary one.
    std::vector<std::string> seen;
    std::string folder;
    std::string failing;
    int error = 0;

    /// False if the call is to fail, with `errno` set.
    bool passes(std::string const& call) {
        seen.push_back(call);
        if (call != failing) return true;
        errno = error;
        return false;
    }
    /// Empty for a file outside.
    std::string shortName(std::string name) const {
        if (name == folder) return ".";
        if (name.compare(0, folder.size() + 1, folder + "/") != 0) return {};
        name.erase(0, folder.size() + 1);
        if (name.compare(0, 4, "temp") == 0) name.replace(0, name.find('/'), "TEMP");
        return name;
    }
    std::string shortName(int descriptor) const {
        std::error_code none;
        auto const link = "/proc/self/fd/" + std::to_string(descriptor);
        return shortName(std::filesystem::read_symlink(link, none).string());
    }
};

/// The calls of the one thread that watches them.
thread_local Calls* watched = nullptr;

bool passes(char const* call, int descriptor) {
    std::string const name = watched ? watched->shortName(descriptor) : std::string();
    // Folders are closed as well: only the closing of what was written is of interest.
    if (name.empty() || (*call == 'c' && name.find(".tmp") == std::string::npos)) return true;
    return watched->passes(std::string(call) + " " + name);
}

}  // namespace

extern "C" int fsync(int descriptor) {
    return passes("sync", descriptor) ? ::fdatasync(descriptor) : -1;
}

extern "C" int close(int descriptor) {
    bool const good = passes("close", descriptor);
    int const error = errno;
    int const result = static_cast<int>(::syscall(3 /* replaced below */, descriptor));
    if (good) return result;
    errno = error;
    return -1;
}
