#include <settingscore/persistence/shared/LeftOvers.hpp>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>

#include <settingscore/host/I18n.hpp>
#include <settingscore/persistence/LeftOverFolders.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core {

namespace fs = qf::filesystem;

namespace {

std::string firstLine(std::string const& file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return line;
}

std::string linkText(std::string const& link) {
    std::array<char, 512> text{};
    ::ssize_t const size = ::readlink(link.c_str(), text.data(), text.size());
    return size > 0 ? std::string(text.data(), static_cast<std::size_t>(size)) : std::string();
}

/// When a process started, in the ticks of the system; empty if there is none of that number.
std::string startOf(std::string const& process) {
    std::string const line = firstLine("/proc/" + process + "/stat");
    // The name in the second field may hold anything, blanks and brackets included.
    std::size_t at = line.rfind(')');
    if (at == std::string::npos) return {};
    constexpr int fieldsBetween = 20;
    for (int i = 0; i < fieldsBetween && at != std::string::npos; ++i)
        at = line.find(' ', at + 1);
    if (at == std::string::npos) return {};
    return line.substr(at + 1, line.find(' ', at + 1) - at - 1);
}

/// Where process numbers mean what they mean here.
struct Surroundings {
    std::string machine = firstLine("/etc/machine-id");
    std::string start = firstLine("/proc/sys/kernel/random/boot_id");
    std::string numbers = linkText("/proc/self/ns/pid");
};

constexpr char separator = '/';

std::string ownMark() {
    static std::mutex mutex;
    static ::pid_t process = 0;
    static auto& mark = detail::neverDestroyed<std::string>();
    std::lock_guard<std::mutex> const lock(mutex);
    // A forked child is another process.
    if (process != ::getpid()) {
        process = ::getpid();
        Surroundings const here;
        std::string const number = std::to_string(process);
        mark = number + separator + startOf(number) + separator + here.numbers + separator +
               here.start + separator + here.machine;
    }
    return mark;
}

enum class Maker { lives, dead, unknown };

Maker makerOf(std::string const& mark) {
    std::vector<std::string> parts;
    for (std::size_t at = 0; at <= mark.size();) {
        std::size_t const end = std::min(mark.find(separator, at), mark.size());
        parts.push_back(mark.substr(at, end - at));
        at = end + 1;
    }
    constexpr std::size_t partCount = 5;
    if (parts.size() != partCount) return Maker::unknown;
    bool const isNumber =
        !parts[0].empty() &&
        std::all_of(parts[0].begin(), parts[0].end(), [](char c) { return c >= '0' && c <= '9'; });
    Surroundings const here;
    if (!isNumber || here.machine.empty() || parts[4] != here.machine) return Maker::unknown;
    if (parts[3] != here.start) return Maker::dead;  // The machine was started anew.
    if (parts[2] != here.numbers || parts[1].empty()) return Maker::unknown;
    return startOf(parts[0]) == parts[1] ? Maker::lives : Maker::dead;
}

/// "0x" and up to `most` digits.
bool isHex(std::string_view text, std::size_t most) {
    return text.size() > 2 && text.size() <= 2 + most && text.substr(0, 2) == "0x" &&
           text.find_first_not_of("0123456789abcdef", 2) == std::string_view::npos;
}

/// "temp" and an identity, two numbers, as the saves name their folders.
bool isOwnName(std::string_view name) {
    constexpr std::string_view prefix = "temp";
    if (name.substr(0, prefix.size()) != prefix) return false;
    name.remove_prefix(prefix.size());
    std::size_t const second = name.rfind("0x");
    return second != std::string_view::npos && isHex(name.substr(0, second), 8) &&
           isHex(name.substr(second), 16);
}

bool isDead(std::string const& folder, struct ::stat const& status) {
    using std::chrono::hours;
    using std::chrono::seconds;
    constexpr seconds safe = std::chrono::minutes(1);
    constexpr seconds safeWithoutMark = hours(24);
    seconds const age(std::time(nullptr) - status.st_mtim.tv_sec);
    if (age < safe) return false;
    std::string const name = qf::i18n::to_string(ustring(LeftOvers::markName));
    switch (makerOf(linkText(folder + "/" + name))) {
        case Maker::lives:
            return false;
        case Maker::dead:
            return true;
        case Maker::unknown:
            break;
    }
    return age >= safeWithoutMark;
}

}  // namespace

void LeftOvers::mark(Path const& folder) {
    [[maybe_unused]] int const made =
        ::symlink(ownMark().c_str(), (folder / Path(markName)).native().c_str());
}

std::vector<LeftOvers::Folder> LeftOvers::in(Path const& directory) {
    std::vector<Folder> folders;
    std::unique_ptr<::DIR, int (*)(::DIR*)> const listing(::opendir(directory.native().c_str()),
                                                          &::closedir);
    if (!listing) return folders;
    while (::dirent const* const entry = ::readdir(listing.get())) {
        if (!isOwnName(entry->d_name)) continue;
        std::string const path = directory.native() + "/" + entry->d_name;
        struct ::stat status {};
        if (::lstat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) ||
            status.st_uid != ::geteuid()) {
            continue;
        }
        folders.push_back({fs::from_native(path), isDead(path, status)});
    }
    std::sort(folders.begin(), folders.end(),
              [](Folder const& a, Folder const& b) { return a.path < b.path; });
    return folders;
}

void LeftOvers::removeDead(Path const& directory) {
    using Clock = std::chrono::steady_clock;
    static std::mutex mutex;
    static auto& lastLook = detail::neverDestroyed<std::map<Path, Clock::time_point>>();
    {
        std::lock_guard<std::mutex> const lock(mutex);
        auto const [look, isFirst] = lastLook.emplace(directory, Clock::now());
        if (!isFirst) {
            if (Clock::now() - look->second < std::chrono::minutes(1)) return;
            look->second = Clock::now();
        }
    }
    for (Folder const& folder : in(directory)) {
        if (!folder.isDead) continue;
        try {
            fs::remove_all(folder.path);
        } catch (fs::FsysExceptionBase const&) {  // NOLINT(bugprone-empty-catch)
        }
    }
}

std::vector<ustring> leftOverFolders(ustring const& userDirectory) {
    std::vector<ustring> dead;
    for (LeftOvers::Folder const& folder : LeftOvers::in(fs::path(userDirectory))) {
        if (folder.isDead) dead.push_back(folder.path.str());
    }
    return dead;
}

}  // namespace settings::core
