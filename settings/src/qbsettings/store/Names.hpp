#pragma once

#include <string>
#include <utility>

#include <qbsettings/store/Tree.hpp>

namespace qbsettings {

/// The node of that full name. @throws Failure, nothing there, with a near name if there is one
SettingsPtr findNode(Tree& tree, std::string const& name);

/// The same for a key. @throws Failure also if it is a group
SettingsPtr findKey(Tree& tree, std::string const& name);

/// The same for a group or a product.
SettingsPtr findGroup(Tree& tree, std::string const& name);

/// Name of the product that a node belongs to.
std::string productOf(SettingsPtr const& node);

/// Splits "a.b.c" into "a.b" and "c"; the first is empty for a product.
std::pair<std::string, std::string> splitLast(std::string const& name);

}  // namespace qbsettings
