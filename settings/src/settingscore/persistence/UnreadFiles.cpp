#include <settingscore/persistence/UnreadFiles.hpp>

#include <mutex>
#include <set>

namespace settings::core {

namespace {

struct Files {
    std::mutex mutex;
    std::set<qf::filesystem::path> paths;

    static Files& instance() {
        static auto* const files = new Files;
        return *files;
    }
};

}  // namespace

void UnreadFiles::set(qf::filesystem::path const& file, bool unread) {
    Files& files = Files::instance();
    std::lock_guard<std::mutex> const lock(files.mutex);
    if (unread) {
        files.paths.insert(file);
    } else {
        files.paths.erase(file);
    }
}

bool UnreadFiles::contains(qf::filesystem::path const& file) {
    Files& files = Files::instance();
    std::lock_guard<std::mutex> const lock(files.mutex);
    return files.paths.count(file) != 0;
}

}  // namespace settings::core
