#pragma once

#include <settingscore/host/UString.hpp>

namespace settings::core::detail {

/// Gives a directory.
using RootPathQuery = ustring (*)();

/// Puts in who finds the directories of "user" and of "factory", for the layer that knows them.
/// Until then the levels have none.
void setRootPathQueries(RootPathQuery user, RootPathQuery factory);

}  // namespace settings::core::detail
