#include <qbsettings/Names.hpp>

#include <algorithm>
#include <numeric>
#include <vector>

#include <qbsettings/Failure.hpp>
#include <qbsettings/Text.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

using Children = std::vector<SettingsPtr>;

Children childrenOf(Context& context, SettingsPtr const& node) {
    if (node->isLeafNode()) return {};
    return context.loading([&] { return node->getChildren(); });
}

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
SettingsPtr findDotted(Context& context, SettingsPtr const& node, std::string const& rest) {
    for (SettingsPtr const& child : childrenOf(context, node)) {
        std::string const name = child->getName();
        if (rest == name) return child;
        if (rest.size() > name.size() && rest.compare(0, name.size(), name) == 0 &&
            rest[name.size()] == '.') {
            if (auto const found = findDotted(context, child, rest.substr(name.size() + 1))) {
                return found;
            }
        }
    }
    return {};
}

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool isNear(std::string const& a, std::string const& b, std::size_t& distance) {
    distance = editDistance(a, b);
    std::size_t const length = std::min(a.size(), b.size());
    return distance < length && distance <= std::max<std::size_t>(1, length / 3);
}

SettingsPtr nearestChild(Context& context, SettingsPtr const& node, std::string const& name) {
    SettingsPtr nearest;
    std::size_t least = 0;
    for (SettingsPtr const& child : childrenOf(context, node)) {
        std::size_t distance = 0;
        if (!isNear(child->getName(), name, distance)) continue;
        if (!nearest || distance < least) {
            nearest = child;
            least = distance;
        }
    }
    return nearest;
}

/// The first node below with that name, for a name whose groups were left out.
SettingsPtr findAnywhere(Context& context, SettingsPtr const& node, std::string const& name) {
    for (SettingsPtr const& child : childrenOf(context, node)) {
        if (child->getName() == name) return child;
        if (auto const found = findAnywhere(context, child, name)) return found;
    }
    return {};
}

/// Follows the name part by part, each to the nearest child.
SettingsPtr nearestNode(Context& context, std::vector<std::string> const& parts) {
    SettingsPtr node = context.root();
    for (std::string const& part : parts) {
        SettingsPtr const next = nearestChild(context, node, part);
        if (!next) return findAnywhere(context, node, parts.back());
        node = next;
    }
    return node->isRoot() ? SettingsPtr() : node;
}

}  // namespace

std::size_t editDistance(std::string const& a, std::string const& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            std::size_t const replaced = diagonal + (lower(a[i]) == lower(b[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, replaced});
        }
    }
    return row.back();
}

SettingsPtr findNode(Context& context, std::string const& name) {
    SettingsPtr const root = context.root();
    std::vector<std::string> const parts = partsOf(name);
    if (parts.empty()) throw Failure(nothingThere, "the name is empty");
    SettingsPtr node = context.loading([&] { return root->getSettingsByPathVec(parts); });
    if (!node) node = findDotted(context, root, name);
    if (node) return node;
    // The search for another name can touch products that nobody asked about.
    context.keepQuiet();
    std::string message = "there is no setting " + inQuotes(name);
    if (SettingsPtr const near = nearestNode(context, parts)) {
        message += "; did you mean " + inQuotes(near->getFullName()) + "?";
    }
    throw Failure(nothingThere, message);
}

SettingsPtr findKey(Context& context, std::string const& name) {
    SettingsPtr const node = findNode(context, name);
    if (!node->isLeafNode()) {
        throw Failure(inQuotes(node->getFullName()) +
                      " is a group, not a key; 'qbsettings list' shows the keys in it");
    }
    return node;
}

SettingsPtr findGroup(Context& context, std::string const& name) {
    SettingsPtr const node = findNode(context, name);
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
