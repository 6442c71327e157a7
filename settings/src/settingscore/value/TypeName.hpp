#pragma once

#include <string>
#include <typeinfo>

namespace settings::core {

/// The name of a C++ type as a programmer writes it; the compiler's own name if that fails.
std::string getReadableName(std::type_info const& type);

}  // namespace settings::core
