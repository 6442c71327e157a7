#include <settingscore/value/TypeName.hpp>

#include <cstdlib>
#include <memory>

#include <cxxabi.h>

namespace settings::core {

std::string getReadableName(std::type_info const& type) {
    int status = 0;
    std::unique_ptr<char, decltype(&std::free)> const name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
    return status == 0 && name ? name.get() : type.name();
}

}  // namespace settings::core
