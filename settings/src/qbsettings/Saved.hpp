#pragma once

#include <string>

#include <qbsettings/Context.hpp>

namespace qbsettings {

/// Reads a product's user file and compares it with the tree, since a save can fail in silence.
/// @throws Failure that names a key whose value the file lacks or has still
void confirmSaved(Context& context, std::string const& product);

}  // namespace qbsettings
