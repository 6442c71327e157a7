#pragma once

#include <settingscore/host/UString.hpp>

namespace settings::core::pathutilinternal {

/// Makes a preference directory that is missing, with all that an older release leaves it.
///
/// Other processes see nothing of it or the whole of it: it is filled under a name of its own in
/// the same folder, and renamed. If the process dies before that, the next start begins anew, and
/// removes what is left. Of several starts at once the first to be done has its directory stay; the
/// others take that one and remove their own, whatever became of it. An error puts what was copied
/// until then in the place, so that there is no second attempt.
///
/// Where nothing can be made or renamed beside the place, the directory is made and filled in it,
/// and others can see it half filled. `directory` is emptied, after a warning on the console, if it
/// cannot be made at all; one that is there is left alone.
/// @throws what `copyPreferencesFromPreviousPrefdir` throws
void makeAndFill(ustring& directory);

}  // namespace settings::core::pathutilinternal
