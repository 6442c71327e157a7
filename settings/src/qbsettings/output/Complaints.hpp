#pragma once

#include <string>

namespace qbsettings {

/// Prints one line on standard error, begun with the program's name.
void complain(std::string const& message);

/// The same for text that comes in pieces, as the host's console gives it: whole lines are printed,
/// what is left when the next complaint comes.
void complainInPieces(std::string const& text);

/// Prints what is left of the pieces.
void finishComplaints();

}  // namespace qbsettings
