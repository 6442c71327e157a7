#include <settingscore/value/NumberText.hpp>

#include <charconv>
#include <cmath>
#include <limits>
#include <locale>
#include <sstream>
#include <system_error>
#include <type_traits>

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <boost/numeric/conversion/cast.hpp>
#include <boost/throw_exception.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/value/AsciiCase.hpp>

namespace settingscore::boostany {
namespace {

bool isSign(char c) { return c == '+' || c == '-'; }

/// Compares ASCII letters without regard to case; `word` is in lower case.
bool startsWithWord(std::string_view text, std::string_view word) {
    if (text.size() < word.size()) return false;
    for (std::size_t i = 0; i < word.size(); ++i) {
        if (settings::core::detail::foldedAscii(text[i]) != static_cast<unsigned char>(word[i])) {
            return false;
        }
    }
    return true;
}

bool isWord(std::string_view text, std::string_view word) {
    return text.size() == word.size() && startsWithWord(text, word);
}

bool parse(std::string_view text, bool& value) {
    if (text.empty() || (text.back() != '0' && text.back() != '1')) return false;
    value = text.back() == '1';
    text.remove_suffix(1);
    if (!text.empty() && (text.front() == '+' || (text.front() == '-' && !value))) {
        text.remove_prefix(1);
    }
    return text.find_first_not_of('0') == std::string_view::npos;
}

template <class T>
std::enable_if_t<std::is_integral_v<T>, bool> parse(std::string_view text, T& value) {
    bool const negative = !text.empty() && text.front() == '-';
    if (!text.empty() && isSign(text.front())) text.remove_prefix(1);
    if (text.empty() || isSign(text.front())) return false;
    // A signed number is read with its sign, since the lowest one has no positive counterpart.
    if (negative && std::is_signed_v<T>) text = std::string_view(text.data() - 1, text.size() + 1);
    char const* const end = text.data() + text.size();
    auto const [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end) return false;
    if (negative && std::is_unsigned_v<T>) value = static_cast<T>(T(0) - value);
    return true;
}

/// "nan", "nan(...)", "inf" and "infinity"; `text` comes without its sign.
template <class T>
bool parseWord(std::string_view text, T& value) {
    if (isWord(text, "inf") || isWord(text, "infinity")) {
        value = std::numeric_limits<T>::infinity();
        return true;
    }
    if (!startsWithWord(text, "nan")) return false;
    text.remove_prefix(3);
    value = std::numeric_limits<T>::quiet_NaN();
    return text.empty() || (text.size() > 1 && text.front() == '(' && text.back() == ')');
}

template <class T>
std::enable_if_t<std::is_floating_point_v<T>, bool> parse(std::string_view text, T& value) {
    bool const negative = !text.empty() && text.front() == '-';
    if (!text.empty() && isSign(text.front())) text.remove_prefix(1);
    if (!parseWord(text, value)) {
        // The words that from_chars knows are not all of those above: only a number goes there.
        if (text.empty() || !(text.front() == '.' || (text.front() >= '0' && text.front() <= '9')))
            return false;
        char const* const end = text.data() + text.size();
        auto const [stop, error] = std::from_chars(text.data(), end, value);
        if (stop != end) return false;
        if (error == std::errc::result_out_of_range) {
            // Too large and too small are one error there; a stream refuses the first alone.
            std::istringstream stream{std::string(text)};
            stream.imbue(std::locale::classic());
            if (!(stream >> value)) return false;
        } else if (error != std::errc()) {
            return false;
        }
    }
    if (negative) value = -value;
    return true;
}

}  // namespace

template <class T>
std::string lexicalText(T const& value) {
    if constexpr (std::is_same_v<T, ustring>) {
        return qf::i18n::to_string(value);
    } else if constexpr (std::is_floating_point_v<T>) {
        if (std::isnan(value)) return std::signbit(value) ? "-nan" : "nan";
        if (std::isinf(value)) return std::signbit(value) ? "-inf" : "inf";
        char buffer[32];
        auto const end =
            std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general,
                          std::numeric_limits<T>::max_digits10);
        return std::string(buffer, end.ptr);
    } else if constexpr (std::is_same_v<T, bool>) {
        return value ? "1" : "0";
    } else {
        char buffer[24];
        auto const end = std::to_chars(buffer, buffer + sizeof buffer,
                                       static_cast<typename ValueTraits<T>::Wide>(value));
        return std::string(buffer, end.ptr);
    }
}

template <class T>
T lexicalParse(std::string_view text) {
    if constexpr (std::is_same_v<T, ustring>) {
        return qf::i18n::to_ustring(std::string(text));
    } else {
        using Wide = typename ValueTraits<T>::Wide;
        Wide value{};
        if (!parse(text, value)) {
            boost::throw_exception(boost::bad_lexical_cast(typeid(std::string), typeid(Wide)));
        }
        return boost::numeric_cast<T>(value);
    }
}

#define SETTINGSCORE_ROW(type, place, text, wide, word)        \
    template std::string lexicalText<type>(type const& value); \
    template type lexicalParse<type>(std::string_view);
SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ROW)
#undef SETTINGSCORE_ROW

}  // namespace settingscore::boostany
