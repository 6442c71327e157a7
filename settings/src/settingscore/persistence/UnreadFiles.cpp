#include <settingscore/persistence/UnreadFiles.hpp>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <map>
#include <mutex>
#include <new>

#include <boost/weak_ptr.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/persistence/xml/UnreadableNow.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core {

namespace {

using Passing = UnreadFiles::Passing;
/// A mark without a passing reason is that of a defective file.
using Marks = std::map<boost::weak_ptr<void const>, std::optional<Passing>>;

struct Files {
    std::mutex mutex;
    std::map<qf::filesystem::path, Marks> marks;

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

void UnreadFiles::setRead(Root const& root, Path const& file) {
    Files& files = Files::instance();
    std::lock_guard<std::mutex> const lock(files.mutex);
    files.erase(file, [&](auto const& mark) { return isOf(mark, root); });
}

void UnreadFiles::setUnread(Root const& root, Path const& file,
                            std::optional<Passing> const& reason) {
    Files& files = Files::instance();
    std::lock_guard<std::mutex> const lock(files.mutex);
    files.erase(file, [](auto const&) { return false; });
    files.marks[file][root] = reason;
}

std::optional<Passing> UnreadFiles::unreadableFor(Root const& root, Path const& file) {
    Files& files = Files::instance();
    std::lock_guard<std::mutex> const lock(files.mutex);
    auto const found = files.marks.find(file);
    if (found == files.marks.end()) return std::nullopt;
    auto const mark = found->second.find(root);
    return mark == found->second.end() ? std::nullopt : mark->second;
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
}

}  // namespace settings::core
