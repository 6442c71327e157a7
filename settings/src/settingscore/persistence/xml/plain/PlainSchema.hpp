#pragma once

#include <cstddef>
#include <string_view>

#include <settingscore/persistence/xml/ElementKind.hpp>

/// What settings.xsd says of the elements, for the plain reader. Whoever changes the schema changes
/// it here as well: the reader is used only with the schema that the library was built with.
namespace settings::core::plain {

struct AttributeRule {
    std::string_view name;
    /// Characters that its value may not hold.
    std::string_view refused;
    /// Its value if it is absent; null if it has none then.
    char const* standard;
};

/// No element has more.
constexpr std::size_t mostAttributes = 4;

struct ElementRule {
    /// The elements inside, a bit for each kind.
    std::uint32_t children;
    /// True if it has text and no elements; in the others stands white space alone.
    bool hasText;
    /// Up to the first without a name.
    AttributeRule attributes[mostAttributes];
};

ElementRule const& ruleOf(ElementKind kind);

constexpr std::uint32_t bitOf(ElementKind kind) {
    return std::uint32_t(1) << static_cast<unsigned>(kind);
}

}  // namespace settings::core::plain
