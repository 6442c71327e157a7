#pragma once

#include <settingscore/persistence/Markup.hpp>
#include <settingscore/persistence/xml/ByteSource.hpp>
#include <settingscore/persistence/xml/DocumentHandler.hpp>

/// What needs the parser. In the shared library it is a module that the first call loads
/// (ModuleLoader.cpp); without it both throw UnreadableNow with the code `SaxPlugInNotFound`. The
/// static library has it within.
namespace settings::core {

/// Reads a settings file of any form and tells the handler what stands there, as far as it is
/// well-formed and valid by the schema. A schema is read once for each path; afterwards its bytes
/// are left alone. May be called by any thread.
/// @throws exception::ErrorReadingSettingsData for a file that can't be read or is refused;
///         UnreadableNow, which is one, for a reason that says nothing about the file;
///         std::bad_alloc; what the handler throws
void parseValidating(NamedSource const& schema, NamedSource const& file, DocumentHandler& handler);

/// The root element of a file, as it is written. The schema has no say in it.
/// @throws exception::ErrorReadingSettingsData for a file that is refused;
///         qf::filesystem::FsysExceptionBase for one that can't be read; std::bad_alloc
Markup parseMarkup(NamedSource const& file);

}  // namespace settings::core
