#pragma once

#include <vector>

#include <qbsettings/check/Finding.hpp>
#include <qbsettings/store/Tree.hpp>

namespace qbsettings {

/// A product's user file beside its factory files.
struct UserFile {
    qf::ustring path;
    SettingsPtr content;                    ///< As it is read by itself.
    SettingsPtr product;                    ///< As it is in the tree.
    std::vector<SettingsPtr> factoryFiles;  ///< As they are read by themselves.
    bool areAll;                            ///< No factory file was left out.
    bool isLeftOut;                         ///< Its load failed.
};

/// The values of the file that its factory files refuse (some cost the user the whole file, others
/// are in force unchecked), that they do not know, and that are their own.
std::vector<Finding> findingsOfValues(Directories const& directories, UserFile const& file);

}  // namespace qbsettings
