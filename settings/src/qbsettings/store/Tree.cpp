#include <qbsettings/store/Tree.hpp>

#include <algorithm>

#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/store/Directories.hpp>
#include <qbsettings/text/Failure.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

using settings::core::BlessedZcrID;
using settings::core::Settings;

SettingsPtr Tree::root() {
    if (!root_) {
        // Asked for first: inside the library its absence would end the process.
        directories_.user();
        root_ = Settings::getSettingsRoot(BlessedZcrID);
        if (!root_) throw Failure("there is no settings tree");
    }
    return root_;
}

std::vector<SettingsPtr> Tree::childrenOf(SettingsPtr const& node) {
    if (node->isLeafNode()) return {};
    return loading([&] { return node->getChildren(); });
}

bool Tree::isFaulty(qf::ustring const& file) const {
    return std::any_of(faults_.begin(), faults_.end(),
                       [&](Fault const& fault) { return fault.file == file; });
}

void Tree::keepFaults(settings::core::exception::ErrorReadingSettingsData const& error) {
    for (Fault const& fault : faultsOfLoad(error.getDetailErrorMsg())) {
        if (!quiet_) complain(fault.toText());
        faults_.push_back(fault);
    }
}

}  // namespace qbsettings
