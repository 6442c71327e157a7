#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace settings::core {

/// The attributes of an element's start tag, with those that the schema supplies, in UTF-8. Refers
/// to texts of the parser, and is good until the next tag.
class ElementAttributes {
public:
    void clear() { attributes_.clear(); }
    void add(std::string_view name, std::string_view value) {
        attributes_.push_back({name, value});
    }

    /// Empty if it is absent.
    std::string get(std::string_view name) const { return std::string(find(name)); }
    /// True if it is exactly "true".
    bool isTrue(std::string_view name) const { return find(name) == "true"; }
    bool has(std::string_view name) const { return position(name) != attributes_.end(); }

private:
    struct Attribute {
        std::string_view name;
        std::string_view value;
    };

    std::vector<Attribute>::const_iterator position(std::string_view name) const {
        return std::find_if(attributes_.begin(), attributes_.end(),
                            [&](Attribute const& attribute) { return attribute.name == name; });
    }
    std::string_view find(std::string_view name) const {
        auto const found = position(name);
        return found == attributes_.end() ? std::string_view() : found->value;
    }

    std::vector<Attribute> attributes_;
};

}  // namespace settings::core
