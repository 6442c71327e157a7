#include <qbsettings/check/Finding.hpp>

#include <algorithm>
#include <stdexcept>

namespace qbsettings {

std::vector<FindingKind> const& findingKinds() {
    static std::vector<FindingKind> const kinds = {
        // What costs a file, or all of them.
        {"unreadable", true, "A file or folder cannot be read"},
        {"not-removed", true, "A left-over cannot be removed"},
        {"not-well-formed", true, "A file is no XML that the store takes"},
        {"refused-file", true, "What an element says is refused, and with it the file"},
        {"wrong-root", true, "The root element does not have the product's name"},
        {"refused-together", true, "A file is refused beside the others of its product"},
        // Words that count otherwise than they seem.
        {"product-rule", false, "A rule on a product's own element has no effect"},
        {"function-type", false, "A function is of a type that there is not"},
        {"truth-word", false, "A word does not count as true, though it seems to say so"},
        {"misread-number", false, "A number counts as another one"},
        {"cut-text", false, "Of a text the last piece alone counts"},
        {"repeated-type", false, "Of several type elements of a key the last counts"},
        {"unused-value", false, "A value never counts"},
        {"user-metadata", false, "Rules in a user file have no effect"},
        // Definitions that cannot be meant.
        {"unnamed", false, "A key or group has no name"},
        {"array-bounds", false, "No value can have the number of elements"},
        {"choice-blanks", false, "A choice has blanks around it"},
        {"repeated-rule", false, "A rule stands twice"},
        {"default-refused", false, "A default is not allowed by its own key's rules"},
        {"function-names", false, "A function is not named in full"},
        {"function-not-found", false, "A library or a function in it is not there"},
        // Files that nobody reads.
        {"kept-aside", false, "A user file was set aside by a save"},
        {"left-over", false, "A process that was killed left a temporary folder"},
        {"never-read", false, "No load looks at a file or link"},
        // Texts beside the factory files.
        {"texts-fault", false, "A file of texts cannot be read, so that none of it is shown"},
        {"texts-unknown", false, "A text is for what is not there"},
        {"texts-unread", false, "No program asks for a file of texts"},
        {"texts-missing", false, "A key has no text; found with --strict alone"},
        // Files of one product beside one another.
        {"differing-definitions", false, "Two files define a key, and not alike"},
        {"refused-value", false, "The factory files refuse a user's value"},
        {"undeclared-key", false, "No factory file declares what is in a user file"},
        {"same-as-factory", false, "A user's value is the factory's"},
    };
    return kinds;
}

std::size_t placeOfKind(std::string const& id) {
    auto const& kinds = findingKinds();
    auto const kind = std::find_if(kinds.begin(), kinds.end(),
                                   [&](FindingKind const& each) { return each.id == id; });
    if (kind == kinds.end()) throw std::logic_error("there is no kind of finding '" + id + "'");
    return static_cast<std::size_t>(kind - kinds.begin());
}

}  // namespace qbsettings
