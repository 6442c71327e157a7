#pragma once

namespace settings::core::detail {

/// Puts the functions of the upper layers where the lower ones ask for them: loader, saver and
/// writer with the tree, the directories with files and levels. Done when the library is loaded;
/// whoever makes a root or a node asks for it as well, since the static initialisers of a program
/// that links the library statically may come earlier. Any number of calls, from any thread.
void connectLayers();

}  // namespace settings::core::detail
