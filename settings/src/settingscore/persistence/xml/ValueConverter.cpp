#include <settingscore/persistence/xml/ValueConverter.hpp>

#include <algorithm>
#include <string>
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

template <class T>
T toNumber(std::string const& text) {
    if constexpr (std::is_floating_point_v<T>) {
        // A number that is not zero is taken whatever follows it. Zero can mean that there was no
        // number, and is looked at again.
        T const number = static_cast<T>(qu_strtod(quGetFpcContext(), text.c_str(), nullptr, 0));
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
