#include <qbsettings/generate/Literals.hpp>

#include <array>
#include <type_traits>

#include <qbsettings/text/Values.hpp>
#include <settingscore/value/ValueTraits.hpp>

namespace qbsettings {

namespace boostany = settingscore::boostany;

namespace {

template <class T>
std::string cppNameOf() {
    if (std::is_same_v<T, qf::ustring>) return "::std::string";
    if (std::is_same_v<T, bool>) return "bool";
    if (std::is_same_v<T, float>) return "float";
    if (std::is_same_v<T, double>) return "double";
    return std::string(std::is_signed_v<T> ? "::std::int" : "::std::uint") +
           std::to_string(sizeof(T) * 8) + "_t";
}

/// The shortest text of a floating number, as one of its type.
template <class T>
std::string floatingLiteral(std::string const& text) {
    std::string const limits = "::std::numeric_limits<" + cppNameOf<T>() + ">::";
    // What is no number begins with a letter: nan, inf, -inf.
    if (text.find_first_of("nN") != std::string::npos) {
        bool const isNan = text.find_first_of("aA") != std::string::npos;
        return (text.front() == '-' && !isNan ? "-" : "") + limits +
               (isNan ? "quiet_NaN()" : "infinity()");
    }
    std::string const point = text.find_first_of(".eE") == std::string::npos ? ".0" : "";
    return text + point + (std::is_same_v<T, float> ? "f" : "");
}

template <class T>
std::string integerLiteral(std::string const& text) {
    if (std::is_same_v<T, unsigned long long>) return text + "ULL";
    if (std::is_same_v<T, unsigned int>) return text + "U";
    std::string const mark = std::is_same_v<T, long long> ? "LL" : "";
    // The lowest number has no literal of its own.
    if (text == "-9223372036854775808") return "-9223372036854775807LL - 1";
    if (text == "-2147483648" && mark.empty()) return "-2147483647 - 1";
    return text + mark;
}

}  // namespace

std::string cppType(unsigned long element) {
    std::string name;
    boostany::forEachElementType([&](auto tag) {
        using T = typename decltype(tag)::Type;
        if (boostany::ValueTraits<T>::index == element) name = cppNameOf<T>();
    });
    return name;
}

std::string cppText(std::string const& text) {
    std::string literal = "\"";
    for (char const c : text) {
        auto const byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\' || c == '?') {
            literal += '\\';
            literal += c;
        } else if (byte < 0x20 || byte > 0x7e) {
            // Three octal digits end by themselves, whatever follows.
            literal += '\\';
            for (int const shift : {6, 3, 0})
                literal += static_cast<char>('0' + ((byte >> shift) & 7));
        } else {
            literal += c;
        }
    }
    return literal + '"';
}

std::string cppLiteral(unsigned long element, boost::any const& value) {
    std::vector<std::string> const texts = elementTexts(value);
    std::string const text = texts.empty() ? std::string() : texts.front();
    std::string literal;
    boostany::forEachElementType([&](auto tag) {
        using T = typename decltype(tag)::Type;
        if (boostany::ValueTraits<T>::index != element) return;
        if constexpr (std::is_same_v<T, qf::ustring>) {
            literal = cppText(text);
        } else if constexpr (std::is_same_v<T, bool>) {
            literal = text;
        } else if constexpr (std::is_floating_point_v<T>) {
            literal = floatingLiteral<T>(text);
        } else {
            literal = integerLiteral<T>(text);
        }
    });
    return literal;
}

}  // namespace qbsettings
