#include <settingscore/persistence/UnreadFiles.hpp>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <map>
#include <mutex>
#include <new>
#include <set>

#include <boost/weak_ptr.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/persistence/xml/UnreadableNow.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core {

namespace {

using Passing = UnreadFiles::Passing;
/// A mark without a passing reason is that of a defective file.
using Marks = std::map<boost::weak_ptr<void const>, std::optional<Passing>>;

/// A folder of which a tree knows only the files that it has looked for by name.
struct Unlisted {
    UnreadFiles::Path folder;
    Passing reason;
    std::set<UnreadFiles::Path> known;
};

struct Files {
    std::mutex mutex;
    std::map<qf::filesystem::path, Marks> marks;
    std::map<boost::weak_ptr<void const>, Unlisted> unlisted;

    static Files& instance() {
        static auto& files = detail::neverDestroyed<Files>();
        return files;
    }

    /// Erases the marks of a file for which `isOver` is true, and those of trees that are gone.
    template <class IsOver>
    void erase(qf::filesystem::path const& file, IsOver const& isOver) {
        auto const found = marks.find(file);
        if (found == marks.end()) return;
        Marks& ofFile = found->second;
        for (auto mark = ofFile.begin(); mark != ofFile.end();) {
            bool const goes = mark->first.expired() || isOver(*mark);
            mark = goes ? ofFile.erase(mark) : std::next(mark);
        }
        if (ofFile.empty()) marks.erase(found);
    }

    void noteKnown(UnreadFiles::Root const& root, UnreadFiles::Path const& file) {
        auto const found = unlisted.find(root);
        if (found != unlisted.end()) found->second.known.insert(file);
    }
    std::optional<Passing> whyUnlisted(UnreadFiles::Root const& root,
                                       UnreadFiles::Path const& file) const {
        auto const found = unlisted.find(root);
        if (found == unlisted.end()) return std::nullopt;
        Unlisted const& listing = found->second;
        bool const isMissed =
            listing.folder == file.parent_path() && listing.known.count(file) == 0;
        return isMissed ? std::optional(listing.reason) : std::nullopt;
    }
};

bool isOf(Marks::value_type const& mark, UnreadFiles::Root const& root) {
    return !mark.first.owner_before(root) && !root.owner_before(mark.first);
}

}  // namespace

std::optional<Passing> UnreadFiles::passing(std::exception const& failure, Path const& file) {
    if (auto const* const unreadable = dynamic_cast<UnreadableNow const*>(&failure)) {
        return Passing{unreadable->errorNumber(), unreadable->getDetailErrorMsg()};
    }
    if (!dynamic_cast<std::bad_alloc const*>(&failure)) return std::nullopt;
    qf::filesystem::FsysExceptionBase const noMemory("cannot read", file.str(), ENOMEM);
    return Passing{ENOMEM, qf::i18n::to_ustring(noMemory.what())};
}

void UnreadFiles::setUnlisted(Root const& root, Path const& folder, Passing const& reason) {
    Files& files = Files::instance();
    std::lock_guard<std::mutex> const lock(files.mutex);
    for (auto listing = files.unlisted.begin(); listing != files.unlisted.end();)
        listing = listing->first.expired() ? files.unlisted.erase(listing) : std::next(listing);
    files.unlisted[root] = {folder, reason, {}};
}

void UnreadFiles::setRead(Root const& root, Path const& file) {
    Files& files = Files::instance();
    std::lock_guard<std::mutex> const lock(files.mutex);
    files.erase(file, [&](auto const& mark) { return isOf(mark, root); });
    files.noteKnown(root, file);
}

void UnreadFiles::setUnread(Root const& root, Path const& file,
                            std::optional<Passing> const& reason) {
    Files& files = Files::instance();
    std::lock_guard<std::mutex> const lock(files.mutex);
    files.erase(file, [](auto const&) { return false; });
    files.marks[file][root] = reason;
    files.noteKnown(root, file);
}

std::optional<Passing> UnreadFiles::unreadableFor(Root const& root, Path const& file) {
    Files& files = Files::instance();
    std::lock_guard<std::mutex> const lock(files.mutex);
    auto const found = files.marks.find(file);
    if (found != files.marks.end()) {
        auto const mark = found->second.find(root);
        if (mark != found->second.end()) return mark->second;
    }
    return files.whyUnlisted(root, file);
}

bool UnreadFiles::isDefective(Path const& file) {
    Files& files = Files::instance();
    std::lock_guard<std::mutex> const lock(files.mutex);
    auto const found = files.marks.find(file);
    return found != files.marks.end() &&
           std::any_of(found->second.begin(), found->second.end(),
                       [](auto const& mark) { return !mark.second && !mark.first.expired(); });
}

void UnreadFiles::replaced(Root const& root, Path const& file) {
    Files& files = Files::instance();
    std::lock_guard<std::mutex> const lock(files.mutex);
    files.erase(file, [&](auto const& mark) { return !mark.second || isOf(mark, root); });
    files.noteKnown(root, file);
}

}  // namespace settings::core
