#pragma once

#include <settingscore/host/UString.hpp>

namespace settings::core {

/// Finds the directories of the levels in the environment. A variable that is empty counts as
/// unset. Nothing is cached: each call asks again.
class SettingsRootDirQuerier {
public:
    /// `SETTINGS_USERDIR` as it stands; else the preference directory, created and filled on the
    /// way. A relative preference directory ends the process with exit status 1 and a line on
    /// standard error; other errors of that directory pass through.
    static ustring UserRoot();
    /// `SETTINGS_WORKGROUPDIR`; else empty.
    static ustring WorkgroupRoot();
    /// `SETTINGS_FACTORYDIR`; else the folder `toolbox` of the installed host.
    static ustring FactoryRoot();
};

}  // namespace settings::core
