#pragma once

#include <cstdint>
#include <string_view>

#include <settingscore/persistence/xml/FileVocabulary.hpp>

/// What settings.xsd says of the elements, for the plain reader. Whoever changes the schema changes
/// it here as well: the reader is used only with the schema that the library was built with.
namespace settings::core::plain {

struct ElementRule {
    /// The elements inside, a bit for each kind.
    std::uint32_t children = 0;
    /// True if it has text and no elements; in the others stands white space alone.
    bool hasText = false;
    /// The attributes that it may have, a bit for each kind.
    std::uint32_t attributes = 0;
    /// Those of them that are "1" if they are absent.
    std::uint32_t attributesWithOne = 0;
};

ElementRule const& ruleOf(ElementKind kind);

/// Characters that the value of an attribute may not hold.
std::string_view refusedIn(AttributeKind kind);

template <class Kind>
constexpr std::uint32_t bitOf(Kind kind) {
    return std::uint32_t(1) << static_cast<unsigned>(kind);
}

}  // namespace settings::core::plain
