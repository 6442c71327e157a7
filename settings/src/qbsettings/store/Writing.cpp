#include <qbsettings/store/Writing.hpp>

#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/store/Directories.hpp>
#include <qbsettings/store/SavedFile.hpp>
#include <qbsettings/store/Tree.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>

namespace qbsettings {

void Writing::lock() {
    if (!lock_) lock_ = std::make_unique<WriteLock>(directories_.user());
}

void Writing::begin(std::string const& product) {
    qf::ustring const file = directories_.userFile(product);
    if (!before_.emplace(product, bytesOf(file)).second) return;
    // Of one that could not be read at this time the save itself says that it refuses.
    if (!tree_.isFaulty(file) || !before_[product]) return;
    complain(pathText(file) +
             " could not be read; saving sets it aside with the suffix .rejected, and what it "
             "held is no longer in force");
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
