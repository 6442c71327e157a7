#pragma once

#include <map>
#include <string>
#include <vector>

#include <settingscore/host/UString.hpp>

namespace qbsettings {

/// An element of a settings file as it is written. What the library makes of a file shows neither
/// the words that it could not use nor where anything stands.
struct Markup {
    std::string tag;
    std::map<std::string, std::string> attributes;
    std::string text;  ///< Its own, without that of the elements inside.
    /// What stands behind the last seam of the text: an entity, a comment, a CDATA section.
    std::string lastPiece;
    unsigned long line = 0;  ///< Line and column are those of the end of its opening tag.
    unsigned long column = 0;
    std::vector<Markup> children;

    /// Value of an attribute, empty if it is absent.
    std::string attribute(std::string const& name) const;
    /// The first element inside of that tag; null if there is none.
    Markup const* find(std::string const& tagWanted) const;
};

/// Reads a file that the library has read without a fault. Opens nothing but this file.
/// @throws std::exception if it can no longer be read
Markup readMarkup(qf::ustring const& file);

}  // namespace qbsettings
