#include <qbsettings/store/ValueEdit.hpp>

#include <algorithm>
#include <charconv>
#include <cstdint>

#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Json.hpp>
#include <qbsettings/text/Rules.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

using Texts = std::vector<std::string>;

template <class Number>
std::optional<Number> numberOf(std::string const& text) {
    Number number{};
    std::size_t const begin = text.rfind('+', 0) == 0 ? 1 : 0;
    char const* const end = text.data() + text.size();
    auto const [stop, error] = std::from_chars(text.data() + begin, end, number);
    if (error != std::errc() || stop != end) return {};
    return number;
}

/// Of as many digits as the type holds for sure: 0.35 and 0.1 are 0.45.
std::string floatingSum(double sum, bool isFloat) {
    char buffer[64];
    auto const end = std::to_chars(buffer, buffer + sizeof buffer, sum, std::chars_format::general,
                                   isFloat ? 6 : 15);
    return {buffer, end.ptr};
}

/// Beyond 64 bits it is a text that no type takes.
std::string integerSum(std::string const& present, std::string const& delta) {
    auto const magnitudeOf = [](std::string const& text) {
        std::size_t const sign = text.find_first_of("+-") == 0 ? 1 : 0;
        return numberOf<std::uint64_t>(text.substr(sign));
    };
    auto const a = magnitudeOf(present);
    auto const b = magnitudeOf(delta);
    if (!a || !b) return {};
    bool const isNegativeA = present.front() == '-';
    bool const isNegativeB = delta.front() == '-';
    if (isNegativeA != isNegativeB) {
        bool const isNegative = *a > *b ? isNegativeA : isNegativeB;
        std::uint64_t const difference = *a > *b ? *a - *b : *b - *a;
        return (isNegative && difference != 0 ? "-" : "") + std::to_string(difference);
    }
    std::uint64_t const sum = *a + *b;
    // One digit more than any number of 64 bits has.
    std::string const text = sum < *a ? std::string(21, '9') : std::to_string(sum);
    return (isNegativeA && text != "0" ? "-" : "") + text;
}

std::string sum(KeyType const& type, Texts const& present, std::string const& delta) {
    std::string const name = type.name();
    bool const isInteger = name.find("int") != std::string::npos;
    if (type.array || (!isInteger && name != "float" && name != "double")) {
        throw Failure("--add is for keys with one number, its type is " + name);
    }
    if (present.size() != 1) throw Failure("it has no value to add to");
    if (isInteger) {
        std::string const text = integerSum(present.front(), delta);
        if (!text.empty()) return text;
    } else if (auto const a = numberOf<double>(present.front())) {
        if (auto const b = numberOf<double>(delta)) return floatingSum(*a + *b, name == "float");
    }
    throw Failure(inQuotes(delta) + " cannot be added to " + inQuotes(present.front()));
}

void removeEach(Texts& elements, KeyType const& type, Texts const& words) {
    for (std::string const& word : words) {
        auto const end =
            std::remove(elements.begin(), elements.end(), shortest(type.element, word));
        if (end == elements.end()) {
            throw Failure(nothingThere, "it has no element " + inQuotes(word));
        }
        elements.erase(end, elements.end());
    }
}

/// The elements of an array after one of the edits that keep the rest.
Texts editedArray(ValueEdit const& edit, KeyType const& type, Texts elements, Texts const& words) {
    if (!type.array) throw Failure("it is no array: its type is " + type.name());
    if (edit.remove) {
        removeEach(elements, type, words);
        return elements;
    }
    std::size_t const at = edit.insert ? *edit.insert : elements.size();
    if (at > elements.size()) {
        throw Failure("it has " + std::to_string(elements.size()) +
                      " elements, so that --insert takes 0 to " + std::to_string(elements.size()));
    }
    elements.insert(elements.begin() + static_cast<std::ptrdiff_t>(at), words.begin(), words.end());
    return elements;
}

void requireUsage(bool good, std::string const& message) {
    if (!good) throw Failure(wrongUsage, message + "; see 'qbsettings set --help'");
}

void requireFit(ValueEdit const& edit, std::size_t words) {
    int const edits = (edit.empty ? 1 : 0) + (edit.append ? 1 : 0) + (edit.remove ? 1 : 0) +
                      (edit.toggle ? 1 : 0) + (edit.add ? 1 : 0) + (edit.insert ? 1 : 0) +
                      (edit.json ? 1 : 0);
    requireUsage(edits < 2,
                 "--json, --empty, --append, --remove, --insert, --toggle and --add exclude each "
                 "other");
    bool const takesNone = edit.empty || edit.toggle;
    requireUsage(!takesNone || words == 0, std::string(edit.empty ? "--empty" : "--toggle") +
                                               " and a VALUE exclude each "
                                               "other");
    requireUsage(takesNone || words != 0,
                 "a VALUE is missing, or --empty for an array without elements");
    requireUsage(!(edit.add || edit.json) || words == 1,
                 std::string(edit.add ? "--add" : "--json") + " takes one VALUE");
}

/// A list that was meant to be JSON would become one element.
void refuseUnmarkedJson(KeyType const& type, Texts const& words) {
    if (!type.array || words.size() != 1 || words.front().rfind('[', 0) != 0) return;
    try {
        parseJsonArray(words.front());
    } catch (Failure const&) {
        return;
    }
    throw Failure(inQuotes(words.front()) +
                  " looks like a JSON array: give the elements one by one, or --json");
}

Texts edited(ValueEdit const& edit, SettingsPtr const& key, Texts const& words) {
    KeyType const type = typeOf(settings::core::describeKey(key));
    if (edit.json) {
        return words.front().rfind('[', 0) == 0 ? parseJsonArray(words.front())
                                                : Texts{parseJsonScalar(words.front())};
    }
    if (edit.empty) return {};
    if (edit.append || edit.remove || edit.insert)
        return editedArray(edit, type, elementTexts(valueOn(key, "")), words);
    if (edit.add) return {sum(type, elementTexts(valueOn(key, "")), words.front())};
    if (edit.toggle) {
        Texts const present = elementTexts(valueOn(key, ""));
        bool const isTruth = type.name() == "bool" && present.size() == 1;
        if (!isTruth) throw Failure("--toggle is for keys of type bool that have a value");
        return {present.front() == "true" ? "false" : "true"};
    }
    refuseUnmarkedJson(type, words);
    return words;
}

}  // namespace

std::vector<std::string> editedTexts(ValueEdit const& edit, SettingsPtr const& key,
                                     std::vector<std::string> const& words) {
    requireFit(edit, words.size());
    try {
        return edited(edit, key, words);
    } catch (Failure const& failure) {
        std::string const name = key->getFullName() + ": ";
        bool const isNamed = std::string(failure.what()).rfind(name, 0) == 0;
        throw Failure(static_cast<ExitStatus>(failure.status()),
                      (isNamed ? "" : name) + failure.what());
    }
}

}  // namespace qbsettings
