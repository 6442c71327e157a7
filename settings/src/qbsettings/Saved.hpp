#pragma once

#include <string>

#include <qbsettings/Context.hpp>

namespace qbsettings {

/// Why a user file cannot be replaced; empty if nothing is known against it.
std::string whyUnwritable(qf::ustring const& file);

/// Reads a product's user file and compares it with the tree, since a save can fail in silence.
/// @throws Failure that names a key whose value the file lacks or has still
void confirmSaved(Context& context, std::string const& product);

}  // namespace qbsettings
