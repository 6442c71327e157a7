#pragma once

/// Marks what libqbsettingscore exports; everything else stays hidden.
#define SETTINGSCORE_API __attribute__((visibility("default")))
