#pragma once

#include <string_view>

#include <settingscore/persistence/xml/DocumentHandler.hpp>

namespace settings::core {

/// Reads a settings file of the plain form: what the store writes and most people do. It tells the
/// handler what the validating parser would tell with the schema that the library was built with.
/// False if it gave up, which it does for anything else that the file holds or the handler throws:
/// the handler has then heard a part, and the file has to be read again by the validating parser,
/// which knows what is wrong, if anything is.
bool readPlain(std::string_view file, DocumentHandler& handler);

}  // namespace settings::core
