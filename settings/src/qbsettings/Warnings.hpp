#pragma once

#include <vector>

#include <qbsettings/Context.hpp>
#include <qbsettings/Faults.hpp>

namespace qbsettings {

struct Markup;

/// What the words of one file say in vain. `ofUser`: it is a user's file, which declares no rules.
std::vector<Warning> warningsOfMarkup(qf::ustring const& file, Markup const& top, bool ofUser);

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
std::vector<Warning> warningsOfValues(Context& context, UserFile const& file);

}  // namespace qbsettings
