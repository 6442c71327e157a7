#pragma once

#include <array>
#include <string>
#include <string_view>

#include <settingscore/persistence/xml/FileVocabulary.hpp>

namespace settings::core {

/// The attributes of an element's start tag, with those that the schema supplies, in UTF-8. Refers
/// to texts of the parser, and is good until the next tag.
class ElementAttributes {
public:
    using Kind = AttributeKind;

    void clear() { given_ = 0; }
    void set(Kind kind, std::string_view value) {
        values_[static_cast<std::size_t>(kind)] = value;
        given_ |= bitOf(kind);
    }

    bool has(Kind kind) const { return (given_ & bitOf(kind)) != 0; }
    /// Empty if it is absent.
    std::string_view view(Kind kind) const {
        return has(kind) ? values_[static_cast<std::size_t>(kind)] : std::string_view();
    }
    std::string get(Kind kind) const { return std::string(view(kind)); }
    /// True if it is exactly "true".
    bool isTrue(Kind kind) const { return view(kind) == "true"; }

    static constexpr unsigned bitOf(Kind kind) { return 1u << static_cast<unsigned>(kind); }

private:
    std::array<std::string_view, attributeKindCount> values_;
    unsigned given_ = 0;
};

}  // namespace settings::core
