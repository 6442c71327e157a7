#pragma once

#include <settingscore/persistence/xml/validating/ValidatingParser.hpp>

namespace settings::core {

/// What the module with the parser gives to the library: the functions of ValidatingParser.hpp.
///
/// Types of C++ cross this boundary, so that both sides have to be of one build. A process that
/// runs while the library is replaced on the disk may meet a module of another version: it asks
/// for its own, and takes no other.
struct ParserModule {
    decltype(&settings::core::parseValidating) parseValidating;
    decltype(&settings::core::parseMarkup) parseMarkup;

    static constexpr char fileName[] = "libqbsettingsparser.so";
    /// The one function that the module exports. Null if the module's version is another.
    using Entry = ParserModule const*(char const* version);
    static constexpr char entryName[] = "qbsettings_parser";
};

}  // namespace settings::core
