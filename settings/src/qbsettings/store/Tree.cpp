#include <qbsettings/store/Tree.hpp>

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/store/Directories.hpp>
#include <qbsettings/store/FaultPlace.hpp>
#include <qbsettings/text/Failure.hpp>
#include <settingscore/host/Filesystem.hpp>
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
        lookAt(directories_.factory());
    }
    return root_;
}

std::vector<SettingsPtr> Tree::products() {
    auto const products = root()->getChildren();
    canListUser();
    if (lookAt(directories_.factory())) {
        for (qf::ustring const& folder : directories_.factoryFolders())
            lookAt(folder);
    }
    return products;
}

bool Tree::canListFactory(std::string const& product) {
    return lookAt(directories_.factory()) && lookAt(directories_.factoryFolder(product));
}

bool Tree::canListUser() { return lookAt(directories_.user()); }

bool Tree::lookAt(qf::ustring const& folder) {
    auto const [place, isNew] = listable_.emplace(folder, true);
    if (!isNew || folder.empty()) return place->second;
    if (DIR* const opened = ::opendir(qf::filesystem::path(folder).native().c_str())) {
        ::closedir(opened);
    } else if (errno != ENOENT) {
        place->second = false;
        keep({folder, std::string("cannot be listed: ") + std::strerror(errno)});
    }
    return place->second;
}

std::vector<SettingsPtr> Tree::childrenOf(SettingsPtr const& node) {
    if (node->isLeafNode()) return {};
    return loading([&] { return node->getChildren(); });
}

bool Tree::isFaulty(qf::ustring const& file) const {
    return std::any_of(faults_.begin(), faults_.end(),
                       [&](Fault const& fault) { return fault.file == file; });
}

void Tree::keep(Fault const& fault) {
    if (!quiet_) complain(fault.toText());
    faults_.push_back(fault);
}

void Tree::keepFaults(settings::core::exception::ErrorReadingSettingsData const& error) {
    for (Fault const& fault : faultsOfLoad(error.getDetailErrorMsg())) {
        std::string product = directories_.productOfUserFile(fault.file);
        if (product.empty() && !fault.file.empty()) {
            product = Directories::productOfFactoryFolder(
                qf::filesystem::path(fault.file).parent_path().str());
        }
        keep(placedFault(fault, root_ ? root_->getChild(product) : SettingsPtr(), product));
    }
}

}  // namespace qbsettings
