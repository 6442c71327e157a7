// From text to value in each grammar, and back, for every type.

#include <vector>

#include <boost/any.hpp>
#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <boost/numeric/conversion/cast.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/persistence/writer/ValueWriter.hpp>
#include <settingscore/persistence/xml/ValueConverter.hpp>
#include <settingscore/persistence/xml/XMLSettingsDetails.hpp>
#include <settingscore/value/Get.hpp>
#include <settingscore/value/NumberText.hpp>
#include <settingscore/value/ValueTraits.hpp>

#include <sstream>

#include "Fuzzing.hpp"

namespace qbfuzz {

namespace {

namespace boostany = settingscore::boostany;
using qf::ustring;

/// True if the text is a value; false if it is refused in one of the ways that are documented.
template <class Work>
bool converts(Work const& work) {
    try {
        work();
        return true;
    } catch (boost::bad_lexical_cast const&) {
    } catch (boost::numeric::bad_numeric_cast const&) {
    } catch (ZENBAR::settings::core::XMLParseErrorWrongValueForGivenTypeException const&) {
    } catch (qbsettings::Failure const&) {
    }
    return false;
}

template <class T>
bool isSame(T const& a, T const& b) {
    return qbsettings::isSame(a, b);
}

/// The text of a value in a file, without the tags; as it stands for all but strings.
template <class T>
std::string inFile(T const& value) {
    std::ostringstream stream;
    settings::core::writeData(stream, value, 0);
    std::string text = stream.str();
    std::size_t const begin = text.find('>') + 1;
    return text.substr(begin, text.rfind('<') - begin);
}

template <class T>
void tryConversions(T const& value) {
    boostany::forEachElementType([&](auto tag) {
        using U = typename decltype(tag)::Type;
        converts([&] { boostany::get<U>(value, true); });
        // Its elements are no objects of their own.
        if constexpr (std::is_same_v<T, bool>) {
            converts([&] { boostany::get<std::vector<U>>(std::vector<T>{value, value}, true); });
        }
    });
}

/// `narrow` is the text as the program gets it, `wide` as the file's reader does.
template <class T>
void tryType(std::string const& narrow, ustring const& wide) {
    T value{};
    std::string const type = boostany::ValueTraits<T>::name;
    if (converts([&] { value = boostany::lexicalParse<T>(narrow); })) {
        T again{};
        require(
            converts([&] { again = boostany::lexicalParse<T>(boostany::lexicalText(value)); }) &&
                isSame(value, again),
            "the text of a value reads back: " + type, narrow);
        tryConversions(value);
    }
    if (converts([&] { value = settings::core::ValueConverter<T>(wide).input(); })) {
        if constexpr (!std::is_same_v<T, ustring>) {
            T again{};
            ustring const text = qf::i18n::to_ustring(inFile(value));
            require(converts([&] { again = settings::core::ValueConverter<T>(text).input(); }) &&
                        isSame(value, again),
                    "a value in a file reads back: " + type, inFile(value));
        }
    }
    qbsettings::KeyType keyType;
    keyType.element = boostany::ValueTraits<T>::index;
    boost::any given;
    if (converts([&] { given = qbsettings::makeValue(keyType, {narrow}); })) {
        require(qbsettings::isSame(given,
                                   qbsettings::makeValue(keyType, qbsettings::elementTexts(given))),
                "what the program prints reads back: " + type, narrow);
    }
    converts([&] { boostany::get<T>(boost::any(wide), true); });
    converts([&] { boostany::get<std::vector<T>>(boost::any(wide), true); });
}

/// The units of the text as they stand, so that there are broken pairs as well.
ustring unitsOf(std::string const& text) {
    ustring units;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        units += static_cast<char16_t>(static_cast<unsigned char>(text[i]) << 8U |
                                       static_cast<unsigned char>(text[i + 1]));
    }
    return units;
}

}  // namespace

void fuzz(std::string const& input) {
    ustring const wide =
        input.compare(0, 1, "\x01") == 0 ? unitsOf(input.substr(1)) : qf::i18n::to_ustring(input);
    boostany::forEachElementType(
        [&](auto tag) { tryType<typename decltype(tag)::Type>(input, wide); });
    converts([&] { settings::core::XMLSettingsDetails::getVersionNumber(input); });
    std::string const narrow = qf::i18n::to_string(wide);
    require(qf::i18n::to_string(qf::i18n::to_ustring(narrow)) == narrow,
            "a narrow text is the same when it was wide", narrow);
}

}  // namespace qbfuzz
