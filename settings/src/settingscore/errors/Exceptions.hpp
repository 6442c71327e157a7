#pragma once

/// All errors of the library.
#include <settingscore/errors/FileExceptions.hpp>
#include <settingscore/errors/FunctionExceptions.hpp>
#include <settingscore/errors/HostExceptions.hpp>
#include <settingscore/errors/MergeExceptions.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/errors/SettingsException.hpp>
#include <settingscore/errors/TreeExceptions.hpp>
#include <settingscore/errors/ValidationException.hpp>
#include <settingscore/errors/ValueExceptions.hpp>
