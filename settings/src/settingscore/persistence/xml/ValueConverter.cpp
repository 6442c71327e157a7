#include <settingscore/persistence/xml/ValueConverter.hpp>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/host/Platform.hpp>
#include <settingscore/value/NumberText.hpp>
#include <settingscore/value/ValueTraits.hpp>

namespace settings::core {

namespace boostany = settingscore::boostany;

namespace {

/// What a number may be is ASCII.
std::string narrow(ustring const& text) {
    bool const isAscii =
        std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 0x80; });
    return isAscii ? std::string(text.begin(), text.end()) : qf::i18n::to_string(text);
}

/// The number of a text of digits, with a point among them at the most; 0 for any other text, and
/// for one with more digits than a `double` surely has. Both the digits and the power of ten are
/// exact, so that their quotient is the `double` next to the text, as from the host.
double shortDecimal(std::string_view text) {
    constexpr std::size_t sureDigits = 15;
    constexpr double powers[] = {1,   1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    bool const isNegative = !text.empty() && text[0] == '-';
    if (isNegative) text.remove_prefix(1);
    std::size_t const point = std::min(text.find('.'), text.size());
    std::size_t const behind = text.size() - std::min(point + 1, text.size());
    if (point == 0 || point + behind > sureDigits || point + 1 == text.size()) return 0;
    std::int64_t digits = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i == point) continue;
        if (text[i] < '0' || text[i] > '9') return 0;
        digits = digits * 10 + (text[i] - '0');
    }
    double const number = static_cast<double>(digits) / powers[behind];
    return isNegative ? -number : number;
}

template <class T>
T toNumber(std::string const& text) {
    if constexpr (std::is_floating_point_v<T>) {
        // A number that is not zero is taken whatever follows it. Zero can mean that there was no
        // number, and is looked at again.
        double wide = shortDecimal(text);
        if (wide == 0) wide = qu_strtod(quGetFpcContext(), text.c_str(), nullptr, 0);
        T const number = static_cast<T>(wide);
        if (number != 0) return number;
    }
    return boostany::lexicalParse<T>(text);
}

}  // namespace

template <class T>
T ValueConverter<T>::input() const {
    if constexpr (std::is_same_v<T, ustring>) {
        return text_;
    } else if constexpr (std::is_same_v<T, bool>) {
        return text_ == u"true" || text_ == u"1";
    } else {
        try {
            return toNumber<T>(narrow(text_));
        } catch (boost::bad_lexical_cast const&) {
            using Traits = boostany::ValueTraits<T>;
            ZENBAR::settings::core::throwMessage<
                ZENBAR::settings::core::XMLParseErrorWrongValueForGivenType>(
                qf::i18n::to_ustring(Traits::name), text_,
                qf::i18n::to_ustring(Traits::fileErrorWord));
        }
    }
}

#define SETTINGSCORE_ROW(type, index, name, wide, word) template class ValueConverter<type>;
SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ROW)
#undef SETTINGSCORE_ROW

}  // namespace settings::core
