#pragma once

#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/UString.hpp>

#include <xercesc/util/XercesDefs.hpp>

XERCES_CPP_NAMESPACE_BEGIN
class XMLGrammarPool;
XERCES_CPP_NAMESPACE_END

namespace settings::core {

/// The parsed schema of a location. It is parsed once, locked, and then shared by the parsers of
/// all threads for the rest of the process; a failed attempt is repeated by the next caller.
/// @throws xercesc::SAXException, xercesc::XMLException if the schema can't be read
xercesc::XMLGrammarPool& schemaGrammars(qf::filesystem::path const& schema,
                                        ustring const& location);

}  // namespace settings::core
