#pragma once

#include <map>
#include <string>
#include <vector>

#include <settingscore/Export.hpp>
#include <settingscore/host/UString.hpp>

namespace settings::core {

/// An element of a settings file as it is written. The tree that is made of a file shows neither
/// the words that had no effect nor where anything stands; a tool that looks at files needs both.
struct Markup {
    std::string tag;  ///< Without a prefix.
    /// Those that are written, by their names as they are written.
    std::map<std::string, std::string> attributes;
    std::string text;  ///< Its own, without that of the elements inside.
    /// What stands behind the last seam of the text: an entity, a comment, a CDATA section.
    std::string lastPiece;
    unsigned long line = 0;        ///< Of the end of its opening tag, from 1.
    unsigned long column = 0;      ///< Behind the end of its opening tag.
    std::vector<Markup> children;  ///< The elements inside, in their order.

    /// Value of an attribute, empty if it is absent.
    std::string attribute(std::string const& name) const {
        auto const found = attributes.find(name);
        return found == attributes.end() ? std::string() : found->second;
    }
    /// The first element inside of that tag; null if there is none.
    Markup const* find(std::string const& tagWanted) const {
        for (Markup const& child : children)
            if (child.tag == tagWanted) return &child;
        return nullptr;
    }
};

/// The root element of a settings file, whose path is absolute. The file has to be well-formed,
/// without a document type; whether the schema allows what stands there is not looked at. Opens
/// nothing but this file, takes no lock, and may be called by any thread.
/// @throws exception::ErrorReadingSettingsData for a file that is refused, and if there is no
///         parser; qf::filesystem::FsysExceptionBase for one that can't be read
SETTINGSCORE_API Markup readMarkup(ustring const& file);

}  // namespace settings::core
