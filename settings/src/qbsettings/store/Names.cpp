#include <qbsettings/store/Names.hpp>

#include <algorithm>
#include <vector>

#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Near.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/tree/Settings.hpp>
#include <settingscore/value/AsciiCase.hpp>

namespace qbsettings {

using settings::core::detail::foldedAscii;

namespace {

std::vector<std::string> partsOf(std::string const& name) {
    std::vector<std::string> parts;
    for (std::size_t at = 0; at <= name.size();) {
        std::size_t const end = std::min(name.find('.', at), name.size());
        if (end > at) parts.push_back(name.substr(at, end - at));
        at = end + 1;
    }
    return parts;
}

/// A file may be named with dots, and so may a product then: takes whole names off the front.
SettingsPtr findDotted(Tree& tree, SettingsPtr const& node, std::string const& rest) {
    for (SettingsPtr const& child : tree.childrenOf(node)) {
        std::string const name = child->getName();
        if (rest == name) return child;
        if (rest.size() > name.size() && rest.compare(0, name.size(), name) == 0 &&
            rest[name.size()] == '.') {
            if (auto const found = findDotted(tree, child, rest.substr(name.size() + 1))) {
                return found;
            }
        }
    }
    return {};
}

SettingsPtr nearestChild(Tree& tree, SettingsPtr const& node, std::string const& name) {
    SettingsPtr nearest;
    std::size_t least = 0;
    for (SettingsPtr const& child : tree.childrenOf(node)) {
        std::size_t distance = 0;
        if (!isNear(child->getName(), name, distance)) continue;
        if (!nearest || distance < least) {
            nearest = child;
            least = distance;
        }
    }
    return nearest;
}

struct Nearest {
    SettingsPtr node;
    std::size_t distance = 0;
};

/// The node below with the nearest name, for a name whose groups were left out.
void findAnywhere(Tree& tree, SettingsPtr const& node, std::string const& name, Nearest& nearest) {
    for (SettingsPtr const& child : tree.childrenOf(node)) {
        std::size_t distance = 0;
        // Case alone is no difference, whatever the length.
        bool const isSame = foldedAscii(child->getName()) == foldedAscii(name);
        if ((isSame || isNear(child->getName(), name, distance)) &&
            (!nearest.node || distance < nearest.distance)) {
            nearest = {child, distance};
        }
        if (nearest.node && nearest.distance == 0) return;
        findAnywhere(tree, child, name, nearest);
    }
}

/// Follows the name part by part, each to the nearest child.
SettingsPtr nearestNode(Tree& tree, std::vector<std::string> const& parts) {
    SettingsPtr node = tree.root();
    for (std::string const& part : parts) {
        SettingsPtr const next = nearestChild(tree, node, part);
        if (!next) {
            Nearest nearest;
            findAnywhere(tree, node, parts.back(), nearest);
            return nearest.node;
        }
        node = next;
    }
    return node->isRoot() ? SettingsPtr() : node;
}

}  // namespace

SettingsPtr findNode(Tree& tree, std::string const& name) {
    SettingsPtr const root = tree.root();
    std::vector<std::string> const parts = partsOf(name);
    if (parts.empty()) throw Failure(nothingThere, "the name is empty");
    SettingsPtr node = tree.loading([&] { return root->getSettingsByPathVec(parts); });
    if (!node) node = findDotted(tree, root, name);
    bool const isListed = tree.canListFactory(parts.front());
    if (node) return node;
    if (!isListed || !tree.canListUser()) {
        throw Failure("there may be a setting " + inQuotes(name) +
                      " in a folder that cannot be listed");
    }
    // The search for another name can touch products that nobody asked about.
    tree.keepQuiet();
    std::string message = "there is no setting " + inQuotes(name);
    std::string dotted = name;
    std::replace(dotted.begin(), dotted.end(), '/', '.');
    if (SettingsPtr const near = nearestNode(tree, partsOf(dotted))) {
        message += "; did you mean " + inQuotes(near->getFullName()) + "?";
    }
    throw Failure(nothingThere, message);
}

SettingsPtr findKey(Tree& tree, std::string const& name) {
    SettingsPtr const node = findNode(tree, name);
    if (!node->isLeafNode()) {
        throw Failure(inQuotes(node->getFullName()) +
                      " is a group, not a key; 'qbsettings list' shows the keys in it");
    }
    return node;
}

SettingsPtr findGroup(Tree& tree, std::string const& name) {
    SettingsPtr const node = findNode(tree, name);
    if (node->isLeafNode()) throw Failure(inQuotes(node->getFullName()) + " is a key, not a group");
    return node;
}

std::string productOf(SettingsPtr const& node) {
    SettingsPtr product = node;
    while (SettingsPtr const parent = product->getParent()) {
        if (parent->isRoot()) break;
        product = parent;
    }
    return product->getName();
}

std::pair<std::string, std::string> splitLast(std::string const& name) {
    std::size_t const dot = name.rfind('.');
    if (dot == std::string::npos) return {std::string(), name};
    return {name.substr(0, dot), name.substr(dot + 1)};
}

}  // namespace qbsettings
