#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// The names of a settings file's elements and attributes.
namespace settings::core {

/// The elements. That of a value type is `typeElement` plus the type's index in
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

enum class AttributeKind : std::uint8_t {
    unknown,
    name,
    visible,
    version,
    readonly,
    anytype,
    minArraySize,
    maxArraySize,
    undef,
    type,
    packagename,
    functionname
};

constexpr std::size_t attributeKindCount = std::size_t(AttributeKind::functionname) + 1;

/// What a name stands for, `unknown` if it is none of these.
ElementKind elementKind(std::string_view name);
AttributeKind attributeKind(std::string_view name);

/// The index of a type element's type, 0 for the other elements.
constexpr unsigned typeIndex(ElementKind kind) {
    return kind > ElementKind::typeElement
               ? static_cast<unsigned>(kind) - static_cast<unsigned>(ElementKind::typeElement)
               : 0;
}

}  // namespace settings::core
