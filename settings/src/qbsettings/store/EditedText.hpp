#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include <qbsettings/store/Tree.hpp>

/// The text that `edit` shows: what the user has set, as lines that set it.
namespace qbsettings {

/// The lines of all keys below the nodes that the user has set, each behind a comment that says
/// what the key takes. A node that is a key has a line in any case, in a comment if it is not set.
std::string editableText(Tree& tree, std::vector<SettingsPtr> const& nodes);

/// A text with the reasons why lines of it are refused.
struct MarkedText {
    std::string text;
    std::map<std::size_t, std::string> reasons;  ///< By the number that the refused line has now.
};

/// Puts each reason above its line, and those of line 0 at the top, in the place of the reasons
/// that the text has from an earlier time.
MarkedText withReasons(std::string const& text,
                       std::multimap<std::size_t, std::string> const& reasons);

}  // namespace qbsettings
