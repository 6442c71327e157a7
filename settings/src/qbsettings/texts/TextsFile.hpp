#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include <qbsettings/texts/Texts.hpp>

namespace qbsettings::texts {

/// A place in a file, counted from 1; columns in bytes. 0 if it is not known.
struct Place {
    std::size_t line = 0;
    std::size_t column = 0;
};

/// The texts of one name, with the places that a check tells.
struct Entry {
    Texts texts;
    Place place;
    std::map<std::string, Place> labelPlaces;
};

/// A word that means nothing here, and was passed over.
struct UnknownWord {
    std::string name;  ///< The entry that it stands in.
    std::string word;
    Place place;
};

/// A file of texts. A fault costs all of them: half a file would tell half of the truth.
struct TextsFile {
    std::map<std::string, Entry> entries;  ///< By the name below the product; "" is the product.
    std::vector<UnknownWord> unknownWords;
    bool isThere = false;
    std::string problem;  ///< Why there are no entries; empty if the file is good or not there.
    Place place;          ///< Of the problem.
};

/// Reads a file, given by the bytes of its path. Never waits, as for a pipe, and takes at most 4
/// MiB, 16 nested levels, 1,024 bytes of a name or a one-line text and 65,536 of a description.
TextsFile readTextsFile(std::string const& path);

}  // namespace qbsettings::texts
