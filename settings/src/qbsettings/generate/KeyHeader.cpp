#include <qbsettings/generate/KeyHeader.hpp>

#include <algorithm>
#include <map>
#include <set>

#include <qbsettings/generate/Literals.hpp>
#include <qbsettings/text/Rules.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/tree/Settings.hpp>
#include <settingscore/value/ValueTraits.hpp>

namespace qbsettings {

using settings::core::describeKey;
using settings::core::KeyDescription;

namespace {

constexpr char const* typedKeys = "::settingscore::typed::";

constexpr unsigned long stringElement = settingscore::boostany::ValueTraits<qf::ustring>::index;
constexpr unsigned long boolElement = settingscore::boostany::ValueTraits<bool>::index;
constexpr unsigned long lengthElement = settingscore::boostany::ValueTraits<unsigned int>::index;

/// Names of the children in C++, in the order of the children. Those that are legal as they stand
/// keep their own, whatever the others become.
std::vector<std::string> namesOf(std::vector<SettingsPtr> const& children, Scope& scope) {
    std::vector<std::string> names(children.size());
    for (bool const legal : {true, false}) {
        for (std::size_t i = 0; i < children.size(); ++i) {
            std::string const name = children[i]->getName();
            if (isIdentifier(name) != legal) continue;
            char const* const word = children[i]->isLeafNode() ? "key" : "group";
            names[i] = scope.take(legal ? name : identifierOf(name, word));
        }
    }
    return names;
}

/// A key that is described for programmers: its type, its rules, and what the factory gives it.
std::vector<std::string> rulesOf(SettingsPtr const& key, KeyDescription const& description) {
    std::string rules = typeOf(description).name();
    if (description.arraySize && typeOf(description).array)
        rules += ", " + sizeText(description.arraySize->first, description.arraySize->second);
    std::string const bounds = boundsText(description);
    if (!bounds.empty()) rules += ", " + bounds;
    if (key->isReadOnly()) rules += ", read-only";
    std::string const computed = functionText(description.runTimeDefault);
    if (!computed.empty()) return {rules, "Default computed by " + computed};
    if (description.storedLevels.empty()) return {rules, "No default"};
    boost::any const value =
        key->getParent()->getAny(key->getName(), description.storedLevels.back());
    std::vector<std::string> texts = elementTexts(value);
    for (std::string& text : texts)
        text = inQuotes(text);
    return {rules, texts.empty() ? "Default an empty array" : "Default " + join(texts, ", ")};
}

/// A text in a comment of one line. Of an empty one "///" is left, which parts two paragraphs.
std::string commentOf(std::string const& mark, std::string const& text) {
    std::string shown = asLine(text);
    shown.erase(shown.find_last_not_of(' ') + 1);
    if (shown.empty()) return mark.front() == '/' ? mark : std::string();
    // At its end a backslash would take the next line into the comment.
    return mark + " " + shown + (shown.back() == '\\' ? "." : "");
}

}  // namespace

void KeyHeader::write(SettingsPtr const& product, std::string const& outer) {
    std::string const name = product->getName();
    std::string const version = product->getVersionNumber()
                                    ? ", version " + std::to_string(*product->getVersionNumber())
                                    : "";
    out_ << "// Keys of the product " << asLine(name) << version
         << ". Made by \"qbsettings generate\": what is changed\n"
            "// here is lost.\n"
            "#pragma once\n\n"
            "#include <array>\n#include <cstddef>\n#include <cstdint>\n#include <limits>\n"
            "#include <optional>\n#include <string>\n#include <vector>\n\n"
            "#include <settingscore/typed/Key.hpp>\n\n";
    if (!outer.empty()) out_ << "namespace " << outer << " {\n\n";
    Scope scope;
    writeGroup(product, scope.take(isIdentifier(name) ? name : identifierOf(name, "product")),
               name);
    if (!outer.empty()) out_ << "\n}  // namespace " << outer << "\n";
}

void KeyHeader::writeGroup(SettingsPtr const& group, std::string const& name,
                           std::string const& fullName) {
    writeTexts(fullName);
    out_ << "namespace " << name << " {\n";
    auto const children = tree_.childrenOf(group);
    Scope scope;
    std::vector<std::string> const names = namesOf(children, scope);
    for (std::size_t i = 0; i < children.size(); ++i) {
        std::string const childName = fullName + "." + children[i]->getName();
        out_ << '\n';
        if (children[i]->isLeafNode()) {
            writeKey(children[i], names[i], childName, scope);
        } else {
            writeGroup(children[i], names[i], childName);
        }
    }
    out_ << "\n}  // namespace " << name << "\n";
}

void KeyHeader::writeKey(SettingsPtr const& key, std::string const& name,
                         std::string const& fullName, Scope& scope) {
    KeyDescription const description = describeKey(key);
    KeyType const type = typeOf(description);
    std::vector<std::string> lines = rulesOf(key, description);
    if (type.element == 0) {
        lines.push_back("Its values are of no fixed type: name the wanted one, Key<T>(" +
                        cppText(fullName) + ")");
        if (writeTexts(fullName)) out_ << "///\n";
        writeComment(lines);
        return;
    }
    std::string const choices = writeChoices(description, name, fullName, scope);
    std::string cpp = choices.empty() ? cppType(type.element) : choices;
    if (type.array) cpp = "::std::vector<" + cpp + ">";
    bool const hasDefault =
        !description.storedLevels.empty() || !isVoidRuntimeDefault(description.runTimeDefault);
    if (!hasDefault) cpp = "::std::optional<" + cpp + ">";
    if (writeTexts(fullName)) out_ << "///\n";
    writeComment(lines);
    out_ << "inline " << typedKeys << "Key<" << cpp << "> const " << name << "("
         << cppText(fullName) << ");\n";
    writeBounds(description, name, scope);
}

void KeyHeader::writeComment(std::vector<std::string> const& lines) {
    // The full stop also keeps a backslash from the end of a line, where it would go on.
    for (std::string const& line : lines)
        out_ << "/// " << asLine(line) << ".\n";
}

texts::Texts KeyHeader::textsOf(std::string const& fullName) {
    std::size_t const end = fullName.find('.');
    return texts_.of(end == std::string::npos ? std::string() : fullName.substr(end + 1));
}

bool KeyHeader::writeTexts(std::string const& fullName) {
    texts::Texts const told = textsOf(fullName);
    std::vector<std::string> lines;
    if (!told.summary.empty()) lines.push_back(told.summary);
    std::vector<std::string> const description = texts::linesOf(told.description);
    if (!description.empty()) {
        if (!lines.empty()) lines.emplace_back();
        lines.insert(lines.end(), description.begin(), description.end());
    }
    if (!told.unit.empty()) lines.push_back("In " + told.unit + ".");
    if (!told.since.empty()) lines.push_back("Since " + told.since + ".");
    if (!told.deprecated.empty()) lines.push_back("@deprecated " + told.deprecated);
    for (std::string const& line : lines)
        out_ << commentOf("///", line) << '\n';
    return !lines.empty();
}

void KeyHeader::writeBounds(KeyDescription const& key, std::string const& name, Scope& scope) {
    unsigned long const element = typeOf(key).element;
    bool const isText = element == stringElement;
    auto const constant = [&](std::string const& what, std::string const& type,
                              std::string const& value) {
        out_ << "inline constexpr " << type << " " << scope.take(name + what) << " = " << value
             << ";\n";
    };
    auto const bound = [&](std::string const& what, boost::any const& value) {
        if (value.empty()) return;
        unsigned long const kind = isText ? lengthElement : element;
        constant(what + (isText ? "Length" : ""), cppType(kind), cppLiteral(kind, value));
    };
    bound("Min", key.metaData.minimum);
    bound("Max", key.metaData.maximum);
    if (!typeOf(key).array || !key.arraySize) return;
    auto const [least, most] = *key.arraySize;
    if (least > 0) constant("MinSize", "::std::size_t", std::to_string(least));
    if (most > 0) constant("MaxSize", "::std::size_t", std::to_string(most));
}

std::string KeyHeader::writeChoices(KeyDescription const& key, std::string const& name,
                                    std::string const& fullName, Scope& scope) {
    auto const& rules = key.metaData;
    if (!rules.choices || rules.choices->empty()) return {};
    unsigned long const element = typeOf(key).element;
    std::string const type = element == stringElement ? "char const*" : cppType(element);
    std::map<std::string, std::string> literals;  // By the name of the enumerator.
    std::map<std::string, std::string> labels;
    texts::Texts const told = textsOf(fullName);
    std::vector<std::string> enumerators;
    std::set<std::string> seen;
    Scope within;
    for (boost::any const& choice : *rules.choices) {
        std::string const literal = cppLiteral(element, choice);
        if (!seen.insert(literal).second) continue;
        std::vector<std::string> const texts = elementTexts(choice);
        std::string const text = texts.empty() ? "" : texts.front();
        std::string const enumerator = within.take(
            isIdentifier(text) ? text : identifierOf(text, text.empty() ? "empty" : "value"));
        enumerators.push_back(enumerator);
        auto const label = told.labels.find(text);
        if (label != told.labels.end()) labels[enumerator] = label->second;
        literals[enumerator] = literal;
    }
    std::string const array = "::std::array<";
    // Beside a range there are more values than these; of two there is a type already.
    if (!rules.minimum.empty() || !rules.maximum.empty() || element == boolElement) {
        out_ << "inline constexpr " << array << type << ", " << enumerators.size() << "> "
             << scope.take(name + "Choices") << "{";
        for (std::size_t i = 0; i < enumerators.size(); ++i)
            out_ << (i == 0 ? "" : ", ") << literals[enumerators[i]];
        out_ << "};\n";
        return {};
    }
    std::string const wanted = capitalised(name);
    std::string const chosen = scope.take(scope.has(wanted) ? wanted + "Choice" : wanted);
    out_ << "enum class " << chosen << " {\n";
    for (std::string const& enumerator : enumerators)
        out_ << "    " << enumerator << "," << commentOf("  ///<", labels[enumerator]) << '\n';
    std::string const row = std::string(typedKeys) + "Choice<" + chosen +
                            (element == stringElement ? "" : ", " + type) + ">";
    out_ << "};\nconstexpr auto settingChoices(" << chosen << ") {\n    return " << array << row
         << ", " << enumerators.size() << ">{{\n";
    for (std::string const& enumerator : enumerators)
        out_ << "        {" << chosen << "::" << enumerator << ", " << literals[enumerator]
             << "},\n";
    out_ << "    }};\n}\n";
    return chosen;
}

}  // namespace qbsettings
