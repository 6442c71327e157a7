#include <qbsettings/generate/ReferencePage.hpp>

#include <algorithm>
#include <vector>

#include <nlohmann/json.hpp>
#include <qbsettings/output/Output.hpp>
#include <qbsettings/output/TextsCell.hpp>
#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/store/NodeTexts.hpp>
#include <qbsettings/text/Rules.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

using settings::core::KeyDescription;

namespace {

/// A text that is no Markdown, as one that shows it.
std::string plain(std::string const& text) {
    std::string escaped;
    for (char const c : asLine(text)) {
        if (std::string("\\`*_<>[]|#&~").find(c) != std::string::npos) escaped += '\\';
        escaped += c;
    }
    return escaped;
}

/// A text as it is typed. The marks around it are longer than any within.
std::string code(std::string const& text) {
    if (text.empty()) return "an empty text";
    std::string const shown = asLine(text);
    std::string marks = "`";
    while (shown.find(marks) != std::string::npos)
        marks += '`';
    bool const needsBlank = shown.front() == '`' || shown.back() == '`' || shown.front() == ' ';
    std::string const blank = needsBlank ? " " : "";
    return marks + blank + shown + blank + marks;
}

std::string codes(std::vector<std::string> texts) {
    std::transform(texts.begin(), texts.end(), texts.begin(), code);
    return join(texts, ", ");
}

std::string takes(KeyDescription const& description, std::string const& unit) {
    KeyType const type = typeOf(description);
    std::vector<std::string> parts;
    if (type.array && description.arraySize)
        parts.push_back(sizeText(description.arraySize->first, description.arraySize->second));
    std::string range = rangeText(description);
    if (!range.empty() && !unit.empty()) range += " " + unit;
    if (!range.empty()) parts.push_back(range);
    return join(parts, ", each ");
}

std::string defaultOf(SettingsPtr const& key, KeyDescription const& description,
                      std::string const& unit) {
    std::string const computed = functionText(description.runTimeDefault);
    if (!computed.empty()) return "computed by " + code(computed);
    if (!isStoredOn(key, "factory")) return "none";
    std::vector<std::string> const texts = elementTexts(valueOn(key, "factory"));
    if (texts.empty()) return "an empty array";
    return codes(texts) + (unit.empty() ? "" : " " + plain(unit));
}

}  // namespace

void ReferencePage::paragraph(std::string const& text) {
    if (hasBegun_) output_.line({});
    hasBegun_ = true;
    output_.line(text);
}

void ReferencePage::write(SettingsPtr const& product) {
    paragraph("# " + plain(product->getName()));
    // The content first: the version comes with it.
    tree_.childrenOf(product);
    writeTexts(texts_.of(product));
    if (product->getVersionNumber())
        paragraph("Version " + std::to_string(*product->getVersionNumber()) + " of the settings.");
    writeGroup(product);
}

void ReferencePage::writeGroup(SettingsPtr const& group) {
    auto const children = tree_.childrenOf(group);
    for (SettingsPtr const& child : children) {
        if (child->isLeafNode()) writeKey(child);
    }
    for (SettingsPtr const& child : children) {
        if (child->isLeafNode()) continue;
        paragraph("## " + code(child->getFullName()));
        writeTexts(texts_.of(child));
        writeGroup(child);
    }
}

void ReferencePage::writeTexts(texts::Texts const& told) {
    if (!told.summary.empty()) paragraph(plain(told.summary));
    if (!told.deprecated.empty()) paragraph("**Deprecated:** " + plain(told.deprecated));
    if (!told.description.empty()) paragraph(told.description);
    if (!told.since.empty()) paragraph("Since " + plain(told.since) + ".");
}

void ReferencePage::writeKey(SettingsPtr const& key) {
    KeyDescription const description = settings::core::describeKey(key);
    texts::Texts const told = texts_.of(key);
    std::string const type = typeOf(description).name();
    std::string const range = takes(description, told.unit);
    boost::any const value = isStoredOn(key, "factory") ? valueOn(key, "factory") : boost::any();
    output_.note({{"name", key->getFullName()},
                  {"type", Cell::orNothing(type)},
                  {"takes", Cell::orNothing(
                                boundsText(description).empty() ? "-" : boundsText(description))},
                  {"default", Cell::value(value, typeOf(description))},
                  {"texts", cellOf(told)}});
    paragraph("### " + code(key->getFullName()));
    writeTexts(told);
    paragraph("- Type: " + type + (key->isReadOnly() ? ", read-only" : ""));
    if (!range.empty()) output_.line("- Takes: " + plain(range));
    output_.line("- Default: " + defaultOf(key, description, told.unit));
    std::vector<std::string> const choices = choiceTexts(description);
    if (!choices.empty()) output_.line(range.empty() ? "- One of:" : "- Or one of:");
    for (std::string const& choice : choices) {
        auto const label = told.labels.find(choice);
        output_.line("  - " + code(choice) +
                     (label == told.labels.end() ? "" : ": " + plain(label->second)));
    }
}

}  // namespace qbsettings
