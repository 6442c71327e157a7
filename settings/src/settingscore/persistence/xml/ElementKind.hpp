#pragma once

#include <cstdint>
#include <string_view>

namespace settings::core {

/// The elements of a settings file. That of a value type is `typeElement` plus the type's index in
/// `SETTINGSCORE_ELEMENT_TYPES`.
enum class ElementKind : std::uint8_t {
    unknown,
    settings,
    key,
    additionalpath,
    validationfunc,
    runtimedefault,
    metadata,
    value,
    min,
    max,
    choices,
    typeElement  // Last: the types follow.
};

/// The element of a name, `unknown` if there is none.
ElementKind elementKind(std::string_view name);

/// The index of a type element's type, 0 for the other elements.
constexpr unsigned typeIndex(ElementKind kind) {
    return kind > ElementKind::typeElement
               ? static_cast<unsigned>(kind) - static_cast<unsigned>(ElementKind::typeElement)
               : 0;
}

}  // namespace settings::core
