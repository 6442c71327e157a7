#include <qbsettings/check/DefinitionsBeside.hpp>

#include <qbsettings/check/NamePath.hpp>
#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/text/Rules.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/tree/Settings.hpp>
#include <settingscore/value/AsciiCase.hpp>

namespace qbsettings {

using settings::core::Markup;

std::vector<Finding> DefinitionsBeside::add(qf::ustring const& file, Markup const& top,
                                            SettingsPtr const& content) {
    std::vector<Finding> findings;
    addGroup({file, top, content, 0}, findings);
    return findings;
}

void DefinitionsBeside::addGroup(Group const& group, std::vector<Finding>& findings) {
    qf::ustring const& file = group.file;
    for (Markup const& child : group.markup.children) {
        bool const isKey = child.tag == "key";
        if (!isKey && child.tag != "settings") continue;
        SettingsPtr const node = group.content->getChild(child.attribute("name"));
        if (!node || node->isLeafNode() != isKey) continue;
        Place const place{group.id, settings::core::detail::foldedAscii(node->getName())};
        if (!isKey) {
            std::size_t const id = groups_.emplace(place, groups_.size() + 1).first->second;
            addGroup({file, child, node, id}, findings);
            continue;
        }
        Definition here{file, child.line, child.column, aspectsOf(child, node)};
        auto const [known, isNew] = definitions_.emplace(place, here);
        if (isNew) continue;
        Definition const& before = known->second;
        std::vector<std::string> differing;
        for (auto const& [aspect, text] : here.aspects) {
            auto const other = before.aspects.find(aspect);
            if (other != before.aspects.end() && other->second != text) differing.push_back(aspect);
        }
        if (differing.empty()) continue;
        std::string const name = shownName(node->getFullName());
        findings.push_back({{file,
                             name + ": it is defined otherwise at " + pathText(before.file) + ":" +
                                 std::to_string(before.line) + ":" + std::to_string(before.column) +
                                 " (" + join(differing, ", ") + "); define it in one file",
                             child.line, child.column, name},
                            "differing-definitions"});
    }
}

DefinitionsBeside::Aspects DefinitionsBeside::aspectsOf(Markup const& element,
                                                        SettingsPtr const& key) {
    auto const description = settings::core::describeKey(key);
    Aspects aspects = {{"type", typeOf(description).name()},
                       {"range", rangeText(description)},
                       {"choices", join(choiceTexts(description), "\n")},
                       {"validator", functionText(description.validator)},
                       {"computed default", functionText(description.runTimeDefault)},
                       {"readonly", element.attribute("readonly") == "true" ? "yes" : "no"}};
    if (description.arraySize)
        aspects["size"] = sizeText(description.arraySize->first, description.arraySize->second);
    // A file without a value has nothing against that of another one.
    if (isStoredOn(key, "user")) aspects["value"] = join(elementTexts(valueOn(key, "user")), "\n");
    return aspects;
}

}  // namespace qbsettings
