#pragma once

#include <vector>

#include <qbsettings/check/Finding.hpp>
#include <settingscore/persistence/Markup.hpp>

namespace qbsettings {

/// What the definitions of one file say that cannot be meant: names that are missing, sizes that no
/// value has, rules that are given twice, values that never count. `ofUser`: it is a user's file.
std::vector<Finding> findingsOfDefinitions(qf::ustring const& file,
                                           settings::core::Markup const& top, bool ofUser);

}  // namespace qbsettings
