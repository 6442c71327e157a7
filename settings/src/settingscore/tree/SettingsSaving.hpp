#pragma once

#include <settingscore/Export.hpp>

namespace settings::core {

/// From now on changes stay in memory.
SETTINGSCORE_API void turnOffSettingsSaving();
/// From now on changes are saved again; what was missed is written with the next change.
SETTINGSCORE_API void turnOnSettingsSaving();

}  // namespace settings::core
