#pragma once

#include <optional>
#include <string>

#include <settingscore/host/UString.hpp>
#include <settingscore/persistence/Markup.hpp>

namespace qbsettings {

/// An element of a settings file that is at fault.
struct FaultyElement {
    settings::core::Markup const* element = nullptr;
    std::string name;                               ///< Of the key or group that it belongs to.
    settings::core::Markup const* node = nullptr;   ///< That key or group.
    settings::core::Markup const* group = nullptr;  ///< Around that; null for the root element's.
};

/// Why the file is refused when it is read by itself, with `path` for its own path; empty if it is
/// not.
std::string refusalOf(qf::ustring const& file, qf::ustring const& path);

/// The element with which the fault of a file begins whose elements are `top` and which is refused
/// for `reason`: the last one of the shortest beginning that is refused for the same. Reads a
/// number of such beginnings, from a temporary folder, that grows with the logarithm of the number
/// of elements.
std::optional<FaultyElement> findFaultyElement(qf::ustring const& file,
                                               settings::core::Markup const& top,
                                               std::string const& reason);

inline bool isNode(settings::core::Markup const& element) {
    return element.tag == "key" || element.tag == "settings";
}

/// The root element of a file.
inline FaultyElement rootElement(settings::core::Markup const& top) {
    return {&top, top.attribute("name"), &top, nullptr};
}

/// An element in another one.
inline FaultyElement childElement(FaultyElement const& parent,
                                  settings::core::Markup const& child) {
    if (!isNode(child)) return {&child, parent.name, parent.node, parent.group};
    return {&child, parent.name + "." + child.attribute("name"), &child, parent.element};
}

/// Visits the elements of a file in their order, until `visit` gives true.
template <class Visit>
bool walkElements(FaultyElement const& at, Visit const& visit) {
    if (visit(at)) return true;
    for (settings::core::Markup const& child : at.element->children) {
        if (walkElements(childElement(at, child), visit)) return true;
    }
    return false;
}

}  // namespace qbsettings
