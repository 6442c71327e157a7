#pragma once

#include <vector>

#include <qbsettings/check/Finding.hpp>
#include <qbsettings/store/Tree.hpp>
#include <settingscore/persistence/Markup.hpp>

namespace qbsettings {

/// The values of a factory file that its own ranges and choices refuse: a load does not compare
/// them. `content` is the file as it is read by itself.
std::vector<Finding> findingsOfDefaults(qf::ustring const& file, settings::core::Markup const& top,
                                        SettingsPtr const& content);

}  // namespace qbsettings
