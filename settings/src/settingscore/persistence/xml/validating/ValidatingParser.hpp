#pragma once

#include <settingscore/persistence/xml/ByteSource.hpp>
#include <settingscore/persistence/xml/DocumentHandler.hpp>

namespace settings::core {

/// Reads a settings file of any form and tells the handler what stands there, as far as it is
/// well-formed and valid by the schema. A schema is read once for each path; afterwards its bytes
/// are left alone. May be called by any thread.
/// @throws exception::ErrorReadingSettingsData for a file that can't be read or is refused;
///         UnreadableNow, which is one, for a reason that says nothing about the file;
///         std::bad_alloc; what the handler throws
void parseValidating(NamedSource const& schema, NamedSource const& file, DocumentHandler& handler);

}  // namespace settings::core
