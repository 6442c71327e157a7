#pragma once

#include <string_view>

namespace qbsettings {

/// The schema of settings files that the library was built with.
std::string_view schemaText();

}  // namespace qbsettings
