#include <qbsettings/store/Writing.hpp>

#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>

#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/store/Directories.hpp>
#include <qbsettings/store/SavedFile.hpp>
#include <qbsettings/store/Tree.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/persistence/SharedSaving.hpp>

namespace qbsettings {

namespace {

/// The files beside a user file that saves have set aside.
std::set<qf::ustring> setAside(qf::ustring const& file) {
    std::set<qf::ustring> aside;
    qf::ustring const begin = file + u".rejected";
    for (qf::ustring const& other :
         Directories::filesIn(qf::filesystem::path(file).parent_path().str())) {
        if (other.compare(0, begin.size(), begin) == 0) aside.insert(other);
    }
    return aside;
}

}  // namespace

void Writing::useLockWait() {
    constexpr char const* variable = "QBSETTINGS_LOCK_WAIT";
    char const* const text = std::getenv(variable);
    if (!text || !*text) return;
    unsigned seconds = 0;
    char const* const end = text + std::strlen(text);
    auto const [stop, error] = std::from_chars(text, end, seconds);
    if (error != std::errc() || stop != end) {
        throw Failure(wrongUsage, std::string(variable) + " takes a number of seconds, not " +
                                      inQuotes(asLine(text)));
    }
    settings::core::turnOnSharedSaving(std::chrono::seconds(seconds));
}

void Writing::begin(std::string const& product) {
    qf::ustring const file = directories_.userFile(product);
    if (!before_.emplace(product, bytesOf(file)).second) return;
    // Of one that could not be read at this time the save itself says that it refuses.
    if (!tree_.isFaulty(file) || !before_[product]) return;
    if (!replaceBroken_) {
        throw Failure("nothing was changed, because " + pathText(file) +
                      " cannot be read as a whole; repair it, 'qbsettings edit --file " + product +
                      "' opens it there, or set it aside with --replace-broken, and with it all "
                      "that it holds");
    }
    broken_.emplace(file, setAside(file));
}

Writing::~Writing() {
    for (auto const& [file, before] : broken_) {
        for (qf::ustring const& aside : setAside(file)) {
            if (before.count(aside) != 0) continue;
            complain(pathText(file) + " could not be read and was set aside as " + pathText(aside) +
                     "; what it held is no longer in force");
        }
    }
}

void Writing::beginNew(std::string const& product) {
    qf::ustring const file = directories_.userFile(product);
    if (qf::filesystem::exists(file)) {
        throw Failure(
            pathText(file) +
            " is there already, but was not found when its folder was listed; nothing was "
            "changed");
    }
    begin(product);
}

Writing::Changed Writing::changed(std::string const& product) const {
    auto const before = before_.find(product);
    if (before == before_.end()) return Changed::no;
    auto const now = bytesOf(directories_.userFile(product));
    if (!before->second || !now) return Changed::unknown;
    return *now == *before->second ? Changed::no : Changed::yes;
}

std::string Writing::afterword(std::string const& product) const {
    Changed const state = changed(product);
    if (state == Changed::no) return {};
    if (state == Changed::unknown) {
        return "; " + pathText(directories_.userFile(product)) +
               " cannot be read at this time, so whether it holds the change is not known";
    }
    return "; the file holds the change anyway, but a power failure can still undo it";
}

void Writing::refuseToRemoveUnreadable(std::string const& product) const {
    qf::ustring const file = directories_.userFile(product);
    if (!tree_.isFaulty(file)) return;
    throw Failure(product + " was not removed, because that would delete " + pathText(file) +
                  ", which could not be read; repair or move that file");
}

}  // namespace qbsettings
