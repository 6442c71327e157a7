#pragma once

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace qbtest {

/// Watches the calls of this thread on a folder until the end of the scope; one of them can fail,
/// or, with the negative number of a signal, send that to the process before it is made.
struct Calls {
    explicit Calls(std::filesystem::path const& place, std::string call = {}, int number = 0)
        : folder(place.string()), failing(std::move(call)), error(number) {
        watcher = this;
    }
    ~Calls() { watcher = nullptr; }

    bool passes(std::string const& call, std::string file) {
        if (file.compare(0, folder.size(), folder) != 0) return true;
        file.erase(0, folder.size() + 1);
        if (file.compare(0, 4, "temp") == 0) file.replace(0, file.find('/'), "TEMP");
        if (file.compare(0, 10, ".takeover-") == 0) file.replace(0, file.find('/'), "BESIDE");
        std::string const what = call + " " + (file.empty() ? "." : file);
        if (looking.count(call) == 0) {
            seen.push_back(what);
        } else {
            looks.insert(what);
        }
        if (what != failing) return true;
        if (error < 0) {
            failing.clear();
            ::raise(-error);
            return true;
        }
        // A signal interrupts once.
        if (error == EINTR) failing.clear();
        errno = error;
        return false;
    }
    bool passes(std::string const& call, int descriptor) {
        std::error_code none;
        auto const link = "/proc/self/fd/" + std::to_string(descriptor);
        return passes(call, std::filesystem::read_symlink(link, none).string());
    }

    inline static thread_local Calls* watcher = nullptr;
    inline static std::set<std::string> const looking{"stat", "lstat",  "opendir",
                                                      "open", "remove", "read"};
    std::string const folder;
    std::string failing;
    int const error;
    /// "CALL FILE", the file as seen from the folder, TEMP for the temporary folder, BESIDE
    /// for one that is filled beside its place.
    std::vector<std::string> seen;
    /// What only looks or clears away, in no order.
    std::set<std::string> looks;
};

}  // namespace qbtest
