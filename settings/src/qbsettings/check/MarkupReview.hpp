#pragma once

#include <vector>

#include <qbsettings/check/Finding.hpp>
#include <settingscore/persistence/Markup.hpp>

namespace qbsettings {

/// What the words of one file say without effect. `ofUser`: it is a user's file, which declares no
/// rules.
std::vector<Finding> findingsOfMarkup(qf::ustring const& file, settings::core::Markup const& top,
                                      bool ofUser);

}  // namespace qbsettings
