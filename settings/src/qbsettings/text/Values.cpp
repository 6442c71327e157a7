#include <qbsettings/text/Values.hpp>

#include <charconv>
#include <limits>
#include <system_error>
#include <type_traits>
#include <typeinfo>

#include <boost/numeric/conversion/cast.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Near.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/tree/KeyDescription.hpp>
#include <settingscore/value/AsciiCase.hpp>
#include <settingscore/value/Get.hpp>
#include <settingscore/value/StorableText.hpp>

namespace qbsettings {

namespace boostany = settingscore::boostany;

namespace {

/// Calls `function` with the tag of the element type of that index.
template <class Function>
void withElementType(unsigned long element, Function const& function) {
    boostany::forEachElementType([&](auto tag) {
        using T = typename decltype(tag)::Type;
        if (boostany::ValueTraits<T>::index == element) function(tag);
    });
}

std::string elementName(unsigned long element) {
    std::string name;
    withElementType(element, [&](auto tag) {
        name = boostany::ValueTraits<typename decltype(tag)::Type>::name;
    });
    return name;
}

/// "a double", "an int8", "a uint8".
std::string withArticle(std::string const& type) {
    return (type.front() == 'i' ? "an " : "a ") + type;
}

std::string textOf(ustring const& value) { return qf::i18n::to_string(value); }
std::string textOf(bool value) { return value ? "true" : "false"; }
template <class Number>
std::string textOf(Number value) {
    char buffer[64];
    char* end = nullptr;
    if constexpr (sizeof(Number) == 1) {
        end = std::to_chars(buffer, buffer + sizeof buffer, static_cast<int>(value)).ptr;
    } else {
        end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    }
    return {buffer, end};
}

/// As the library converts it, which lets a negative number wrap around in an unsigned type.
template <class T>
T convert(std::string const& text) {
    constexpr bool isBool = std::is_same_v<T, bool>;
    ustring const wide = isBool && text == "true"    ? ustring(u"1")
                         : isBool && text == "false" ? ustring(u"0")
                                                     : qf::i18n::to_ustring(text);
    return boostany::get<T>(boost::any(wide), true);
}

/// True for "-1", false for "-0".
bool isNegative(std::string const& text) {
    return text.rfind('-', 0) == 0 && text.find_first_not_of("-0") != std::string::npos;
}

template <class T>
T parse(std::string const& text) {
    if constexpr (std::is_same_v<T, ustring>) {
        ustring const wide = qf::i18n::to_ustring(text);
        std::string const bad = settings::core::unstorableCharacter(wide);
        if (!bad.empty()) {
            throw Failure(inQuotes(text) + " holds " + bad + ", which no settings file can hold");
        }
        return wide;
    } else {
        if constexpr (std::is_same_v<T, bool>) {
            std::string const word = settings::core::detail::foldedAscii(text);
            if (word == "true" || word == "yes" || word == "on") return true;
            if (word == "false" || word == "no" || word == "off") return false;
        }
        try {
            if (!std::is_unsigned_v<T> || !isNegative(text)) return convert<T>(text);
        } catch (std::exception const&) {  // NOLINT(bugprone-empty-catch): told below
        }
        constexpr unsigned long element = boostany::ValueTraits<T>::index;
        throw Failure(inQuotes(text) + " is not " + withArticle(elementName(element)) +
                      ": it takes " + formOf(element));
    }
}

}  // namespace

std::string KeyType::name() const {
    if (any) return "any";
    if (element == 0) return "-";
    return (array ? "array of " : "") + elementName(element);
}

KeyType typeOf(settings::core::KeyDescription const& description) {
    KeyType type;
    if (description.arraySize) {
        type.array = description.arraySize->first != 1 || description.arraySize->second != 1;
    }
    if (!description.typeIndex) return type;
    unsigned long const index = *description.typeIndex;
    // A key that was given no type by its first value is saved as one of any type.
    type.any = index == 0 || index == boostany::anyTypeIndex;
    if (type.any) return type;
    if (index > boostany::elementTypeCount) {
        type.array = true;
        type.element = index - boostany::elementTypeCount;
    } else {
        type.element = index;
    }
    return type;
}

KeyType typeOf(boost::any const& value) {
    KeyType type;
    boostany::forEachElementType([&](auto tag) {
        using T = typename decltype(tag)::Type;
        bool const array = value.type() == typeid(std::vector<T>);
        if (!array && value.type() != typeid(T)) return;
        type.element = boostany::ValueTraits<T>::index;
        type.array = array;
    });
    return type;
}

KeyType typeNamed(std::string const& name, TakesAny takesAny) {
    KeyType type;
    std::vector<std::string> known;
    boostany::forEachElementType([&](auto tag) {
        using Traits = boostany::ValueTraits<typename decltype(tag)::Type>;
        known.emplace_back(Traits::name);
        if (name == Traits::name || name == std::string("array of ") + Traits::name) {
            type.element = Traits::index;
            type.array = name != Traits::name;
        }
    });
    type.any = takesAny == TakesAny::yes && name == "any";
    if (type.any || type.element != 0) return type;
    std::string const list =
        join(known, ", ") +
        (takesAny == TakesAny::yes ? ", 'array of' each, and any" : ", and 'array of' each");
    if (takesAny == TakesAny::yes) known.emplace_back("any");
    std::string const near = suggestion(name, known);
    throw Failure(wrongUsage, "there is no type " + inQuotes(name) + near +
                                  (near.empty() ? "; the" : " The") + " types are " + list);
}

std::vector<std::string> elementTexts(boost::any const& value) {
    std::vector<std::string> texts;
    boostany::forEachElementType([&](auto tag) {
        using T = typename decltype(tag)::Type;
        if (T const* const scalar = boost::any_cast<T>(&value)) {
            texts.push_back(textOf(*scalar));
        } else if (auto const* const array = boost::any_cast<std::vector<T>>(&value)) {
            for (auto&& element : *array)
                texts.push_back(textOf(static_cast<T const&>(element)));
        }
    });
    return texts;
}

bool isSame(boost::any const& a, boost::any const& b) {
    KeyType const typeA = typeOf(a);
    KeyType const typeB = typeOf(b);
    if (typeA.element != typeB.element) return false;
    std::vector<std::string> textsA = elementTexts(a);
    std::vector<std::string> textsB = elementTexts(b);
    bool const floating =
        elementName(typeA.element) == "float" || elementName(typeA.element) == "double";
    if (floating) {
        // The sign of a NaN says nothing, and not every file keeps it.
        for (auto* texts : {&textsA, &textsB}) {
            for (std::string& text : *texts) {
                if (text == "-nan") text = "nan";
            }
        }
    }
    return textsA == textsB;
}

boost::any makeValue(KeyType const& type, std::vector<std::string> const& texts) {
    boost::any value;
    withElementType(type.element, [&](auto tag) {
        using T = typename decltype(tag)::Type;
        if (!type.array && texts.size() == 1) {
            value = parse<T>(texts.front());
            return;
        }
        std::vector<T> elements;
        for (std::string const& text : texts)
            elements.push_back(parse<T>(text));
        value = elements;
    });
    return value;
}

boost::any blankValue(KeyType const& type) {
    boost::any value;
    withElementType(type.element, [&](auto tag) {
        using T = typename decltype(tag)::Type;
        if (type.array) {
            value = std::vector<T>();
        } else {
            value = T();
        }
    });
    return value;
}

std::string shortest(unsigned long element, std::string const& text) {
    std::string result = text;
    withElementType(element, [&](auto tag) {
        try {
            result = textOf(convert<typename decltype(tag)::Type>(text));
        } catch (std::exception const&) {
            // Shown as it stands.
        }
    });
    return result;
}

std::string formOf(unsigned long element) {
    std::string form = "a text";
    withElementType(element, [&](auto tag) {
        using T = typename decltype(tag)::Type;
        if constexpr (std::is_same_v<T, bool>) {
            form = "true, false, yes, no, on, off, 1 or 0";
        } else if constexpr (std::is_floating_point_v<T>) {
            form = "a number";
        } else if constexpr (std::is_integral_v<T>) {
            form = "a whole number from " + textOf(std::numeric_limits<T>::min()) + " to " +
                   textOf(std::numeric_limits<T>::max());
        }
    });
    return form;
}

}  // namespace qbsettings
