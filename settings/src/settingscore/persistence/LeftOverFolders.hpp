#pragma once

#include <vector>

#include <settingscore/Export.hpp>
#include <settingscore/host/UString.hpp>

namespace settings::core {

/// The temporary folders that processes left in a user directory which were killed while they
/// saved: of the form of the library's own names, owned by this user, older than a minute, and of
/// a maker that lives no more. Where the maker is not known, as it saved without the mode of shared
/// saving or on another machine, they have to be a day old. What is listed can be removed at any
/// time, with all that is in it. In the order of their names; none if the directory cannot be
/// listed.
SETTINGSCORE_API std::vector<ustring> leftOverFolders(ustring const& userDirectory);

}  // namespace settings::core
