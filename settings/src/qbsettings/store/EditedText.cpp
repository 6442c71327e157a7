#include <qbsettings/store/EditedText.hpp>

#include <algorithm>

#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/text/Lines.hpp>
#include <qbsettings/text/Rules.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

constexpr char const* head =
    R"(# What is set, a NAME = VALUE a line; an array is written as [1, 2] or ["a", "b"].
# A line that is taken out unsets its key, one that is added sets another. All of it is done when the
# editor ends, or nothing if a line is refused; an empty text changes nothing.
)";

/// What begins a line with a reason.
constexpr char const* reasonMark = "#! ";

/// What a key takes: its type, bounds and default.
std::string ruleText(SettingsPtr const& key) {
    KeyState const factory = readKey(key, "factory");
    KeyType const type = typeOf(factory.description);
    std::string text = type.name();
    auto const& size = factory.description.arraySize;
    if (type.array && size) text += ", " + sizeText(size->first, size->second);
    std::string const bounds = boundsText(factory.description);
    if (!bounds.empty()) text += ", " + bounds;
    if (!factory.value.empty()) text += "; default " + asWritten(factory.value, type);
    return asLine(text);
}

void addKey(SettingsPtr const& key, bool always, std::string& text) {
    bool const isSet = isStoredOn(key, "user");
    if (!isSet && !always) return;
    KeyState const state = readKey(key);
    boost::any const value = isSet ? valueOn(key, "user") : state.value;
    text += "\n# " + ruleText(key) + "\n" + (isSet ? "" : "# ") + state.name + " = " +
            asWritten(value, typeOf(state.description)) + "\n";
}

void addBelow(Tree& tree, SettingsPtr const& node, std::string& text) {
    for (SettingsPtr const& child : tree.childrenOf(node)) {
        if (child->isLeafNode()) {
            addKey(child, false, text);
        } else {
            addBelow(tree, child, text);
        }
    }
}

}  // namespace

std::string editableText(Tree& tree, std::vector<SettingsPtr> const& nodes) {
    std::string text = head;
    for (SettingsPtr const& node : nodes) {
        if (node->isLeafNode()) addKey(node, true, text);
        addBelow(tree, node, text);
    }
    return text;
}

MarkedText withReasons(std::string const& text,
                       std::multimap<std::size_t, std::string> const& reasons) {
    MarkedText marked;
    std::size_t before = 0;
    std::size_t now = 0;
    auto const add = [&](std::string const& line) {
        marked.text += line + "\n";
        ++now;
    };
    auto const addReasons = [&](std::size_t line) {
        auto const [begin, end] = reasons.equal_range(line);
        for (auto reason = begin; reason != end; ++reason)
            add(reasonMark + asLine(reason->second));
    };
    addReasons(0);
    for (std::size_t at = 0; at < text.size();) {
        std::size_t const end = std::min(text.find('\n', at), text.size());
        std::string const line = text.substr(at, end - at);
        at = end + 1;
        ++before;
        if (line.rfind(reasonMark, 0) == 0) continue;
        addReasons(before);
        add(line);
        auto const reason = reasons.find(before);
        if (reason != reasons.end()) marked.reasons[now] = reason->second;
    }
    auto const general = reasons.find(0);
    if (general != reasons.end()) marked.reasons[0] = general->second;
    return marked;
}

}  // namespace qbsettings
