#include <settingscore/persistence/UnreadFiles.hpp>

#include <algorithm>
#include <iterator>
#include <map>
#include <mutex>
#include <set>

#include <boost/weak_ptr.hpp>

namespace settings::core {

namespace {

struct Files {
    std::mutex mutex;
    std::map<qf::filesystem::path, std::set<boost::weak_ptr<void const>>> roots;

    static Files& instance() {
        static auto* const files = new Files;
        return *files;
    }
};

}  // namespace

void UnreadFiles::set(boost::shared_ptr<void const> const& root, qf::filesystem::path const& file,
                      bool unread) {
    Files& files = Files::instance();
    std::lock_guard<std::mutex> const lock(files.mutex);
    if (unread) {
        auto& roots = files.roots[file];
        for (auto other = roots.begin(); other != roots.end();)
            other = other->expired() ? roots.erase(other) : std::next(other);
        roots.insert(root);
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
    auto const found = files.roots.find(file);
    if (found == files.roots.end()) return false;
    return std::any_of(found->second.begin(), found->second.end(),
                       [](auto const& root) { return !root.expired(); });
}

void UnreadFiles::forget(qf::filesystem::path const& file) {
    Files& files = Files::instance();
    std::lock_guard<std::mutex> const lock(files.mutex);
    files.roots.erase(file);
}

}  // namespace settings::core
