#pragma once

#include <string>

/// The editor of the user's choice.
namespace qbsettings {

/// Opens a file in `$VISUAL`, else `$EDITOR`, else vi, at a line if that is not 0 and the editor
/// can be told one; comes back when the editor ends. Its signals from the terminal are not ours.
/// @throws Failure; also where the program has more rights than its caller
void runEditor(std::string const& file, unsigned long line);

}  // namespace qbsettings
