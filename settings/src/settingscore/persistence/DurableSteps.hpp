#pragma once

#include <settingscore/host/Filesystem.hpp>

namespace settings::core {

/// Gives a file that could not be read a second name, under which it stays: NAME.rejected, or while
/// that is taken NAME.rejected.2 and so on. @return that name @throws FsysExceptionBase
qf::filesystem::path keepAside(qf::filesystem::path const& file);

/// True if saves are durable, which keep such a file aside by themselves.
bool isDurableSavingOn();

}  // namespace settings::core
