#include <settingscore/persistence/UnreadFiles.hpp>

#include <map>
#include <mutex>
#include <set>

namespace settings::core {

namespace {

struct Files {
    std::mutex mutex;
    std::map<qf::filesystem::path, std::set<void const*>> roots;

    static Files& instance() {
        static auto* const files = new Files;
        return *files;
    }
};

}  // namespace

void UnreadFiles::set(void const* root, qf::filesystem::path const& file, bool unread) {
    Files& files = Files::instance();
    std::lock_guard<std::mutex> const lock(files.mutex);
    if (unread) {
        files.roots[file].insert(root);
        return;
    }
    auto const found = files.roots.find(file);
    if (found == files.roots.end()) return;
    found->second.erase(root);
    if (found->second.empty()) files.roots.erase(found);
}

bool UnreadFiles::contains(qf::filesystem::path const& file) {
    Files& files = Files::instance();
    std::lock_guard<std::mutex> const lock(files.mutex);
    return files.roots.count(file) != 0;
}

void UnreadFiles::forget(qf::filesystem::path const& file) {
    Files& files = Files::instance();
    std::lock_guard<std::mutex> const lock(files.mutex);
    files.roots.erase(file);
}

}  // namespace settings::core
