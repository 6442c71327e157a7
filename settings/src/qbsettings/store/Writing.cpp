#include <qbsettings/store/Writing.hpp>

#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/store/Directories.hpp>
#include <qbsettings/store/SavedFile.hpp>
#include <qbsettings/store/Tree.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>

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

bool Writing::hasChanged(std::string const& product) const {
    auto const before = before_.find(product);
    if (before == before_.end() || !before->second) return false;
    auto const now = bytesOf(directories_.userFile(product));
    return now && *now != *before->second;
}

std::string Writing::afterword(std::string const& product) const {
    if (!hasChanged(product)) return {};
    return "; the file holds the change anyway, but a power failure can still undo it";
}

void Writing::refuseToRemoveUnreadable(std::string const& product) const {
    qf::ustring const file = directories_.userFile(product);
    if (!tree_.isFaulty(file)) return;
    throw Failure(product + " was not removed, because that would delete " + pathText(file) +
                  ", which could not be read; repair or move that file");
}

}  // namespace qbsettings
