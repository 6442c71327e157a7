#pragma once

#include <string>
#include <vector>

#include <settingscore/persistence/Markup.hpp>

namespace qbsettings {

/// A name for messages: of one that is longer than names are, the end. Thousands of findings in a
/// deep tree could not be held otherwise.
inline std::string shownName(std::string const& name) {
    constexpr std::size_t most = 1000;
    if (name.size() <= most) return name;
    std::size_t begin = name.size() - most;
    // Not within a character.
    while (begin < name.size() && (static_cast<unsigned char>(name[begin]) & 0xC0U) == 0x80U)
        ++begin;
    return "..." + name.substr(begin);
}

/// The nodes around the element that a walk over a file stands at. Its name is made when it is
/// asked for: with names for all of a deep tree a walk would no longer take the time of its
/// elements.
class NamePath {
public:
    /// To be called with each element before and behind what is inside.
    void enter(settings::core::Markup const& element) {
        if (isNamed(element)) nodes_.push_back(&element);
    }
    void leave(settings::core::Markup const& element) {
        if (isNamed(element)) nodes_.pop_back();
    }

    /// True in the root element itself.
    bool isTop() const { return nodes_.size() == 1; }
    /// Full name of the nearest key or group.
    std::string text() const {
        std::string name;
        for (settings::core::Markup const* const node : nodes_)
            name += (node == nodes_.front() ? "" : ".") + node->attribute("name");
        return shownName(name);
    }

private:
    static bool isNamed(settings::core::Markup const& element) {
        return element.tag == "key" || element.tag == "settings";
    }

    std::vector<settings::core::Markup const*> nodes_;
};

}  // namespace qbsettings
