#pragma once

#include <vector>

#include <qbsettings/errors/Fault.hpp>
#include <qbsettings/store/Tree.hpp>

namespace qbsettings {

/// A product's user file beside its factory files.
struct UserFile {
    qf::ustring path;
    SettingsPtr content;                    ///< As it is read by itself.
    SettingsPtr product;                    ///< As it is in the tree.
    std::vector<SettingsPtr> factoryFiles;  ///< As they are read by themselves.
    bool isLeftOut;                         ///< Its load failed.
};

/// The values of the file that its factory files refuse: some cost the user the whole file, others
/// are in force unchecked.
std::vector<Warning> warningsOfValues(Directories const& directories, UserFile const& file);

}  // namespace qbsettings
