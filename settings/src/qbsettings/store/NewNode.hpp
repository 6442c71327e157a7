#pragma once

#include <string>
#include <utility>

#include <qbsettings/store/Tree.hpp>

/// The steps that the commands that add nodes share.
namespace qbsettings {

struct Context;

/// The group that a new node of that full name goes into, and the node's own name; begins to write
/// the product.
/// @throws Failure, and the library's exception for a name that is not legal
std::pair<SettingsPtr, std::string> placeFor(Context& context, std::string const& name);

/// Attaches a node, which saves it. @throws Failure that names the node
void attach(Context& context, SettingsPtr const& node, SettingsPtr const& parent,
            std::string const& name);

}  // namespace qbsettings
