#pragma once

#include <boost/shared_ptr.hpp>
#include <settingscore/host/UString.hpp>

namespace settings::core {

class SettingsImpl;

class SettingsXMLReader {
public:
    /// Reads a settings file, and all files that it names through `additionalpath`, into one
    /// standalone tree with all values on the level "user". All paths are relative to the folder of
    /// the first file; a file is read once, however often it is named. Opens nothing but these
    /// files and the schema, takes no lock, and may be called by any thread.
    /// @throws exception::ErrorReadingSettingsData for a file that can't be read or is refused;
    ///         boost::bad_lexical_cast, boost::numeric::bad_numeric_cast for sizes, versions and
    ///         8-bit values that are out of bounds; exception::ErrorAddingChildNodeOrKey for a name
    ///         that is there twice; the errors of a merge of several files
    static boost::shared_ptr<SettingsImpl> getParsedSettings(ustring const& path);
};

}  // namespace settings::core
