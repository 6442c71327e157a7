#include <settingscore/rules/RangeAndChoiceChecker.hpp>

#include <algorithm>
#include <string>
#include <type_traits>

#include <boost/numeric/conversion/cast.hpp>
#include <settingscore/errors/ValueExceptions.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/host/UOStream.hpp>
#include <settingscore/value/NumberText.hpp>

namespace settings::core::detail {

namespace {

template <class T>
constexpr bool isByte = std::is_same_v<T, signed char> || std::is_same_v<T, unsigned char>;

/// What the bounds are compared with.
template <class T>
T const& measureOf(T const& value) {
    return value;
}
unsigned int measureOf(ustring const& value) {
    return boost::numeric_cast<unsigned int>(value.size());
}

template <class T>
bool isInRange(SettingsKeyMetaData<T> const& rules, T const& value) {
    if (!rules.minimum && !rules.maximum) return !rules.choices;
    auto const& measure = measureOf(value);
    return (!rules.minimum || *rules.minimum <= measure) &&
           (!rules.maximum || measure <= *rules.maximum);
}

}  // namespace

void RangeAndChoiceChecker::operator()() const {
    throw exception::DefaultValidationFailedOnVoidType(key_);
}

template <class T>
void RangeAndChoiceChecker::operator()(T const& value) const {
    if (metaData_.empty()) return;
    check(SettingsKeyMetaData<T>(metaData_), value);
}

template <class T>
void RangeAndChoiceChecker::operator()(std::vector<T> const& values) const {
    if (metaData_.empty() || values.empty()) return;
    SettingsKeyMetaData<T> const rules(metaData_);
    for (T const& value : values)
        check(rules, value);
}

template <class T>
void RangeAndChoiceChecker::check(SettingsKeyMetaData<T> const& rules, T const& value) const {
    if (isInRange(rules, value)) return;
    if (rules.choices &&
        std::find(rules.choices->begin(), rules.choices->end(), value) != rules.choices->end()) {
        return;
    }
    ustring valueText = getValueStrForErrorMessage(value);
    ustring choicesText = rules.choices ? getChoicesStr(*rules.choices) : ustring();
    ustring minimumText = getBoundUstr(rules.minimum);
    ustring maximumText = getBoundUstr(rules.maximum);
    if (!rules.choices) {
        throw exception::ValueIsNotInRange(key_, minimumText, maximumText, valueText);
    }
    throw exception::ValueIsNotOneOfTheChoicesAndNotInRange(key_, minimumText, maximumText,
                                                            choicesText, valueText);
}

template <class T>
ustring RangeAndChoiceChecker::getChoicesStr(std::vector<T> const& choices) const {
    qf::io::uostream stream;
    for (T const& choice : choices) {
        if constexpr (isByte<T>) {
            stream << static_cast<int>(choice);
        } else {
            stream << choice;
        }
        stream << u", ";
    }
    stream << u"\n";
    ustring const& text = stream.str();
    return text.substr(0, text.rfind(u", "));
}

template <class T>
ustring RangeAndChoiceChecker::getBoundUstr(boost::optional<T> const& bound) const {
    return bound ? getValueStrForErrorMessage(*bound) : ustring();
}

template <class T>
ustring RangeAndChoiceChecker::getValueStrForErrorMessage(T const& value) const {
    if constexpr (std::is_same_v<T, ustring>) {
        return value;
    } else if constexpr (isByte<T>) {
        return qf::i18n::to_ustring(std::string(1, static_cast<char>(value)));
    } else {
        return qf::i18n::to_ustring(settingscore::boostany::lexicalText(value));
    }
}

#define SETTINGSCORE_ROW(type, place, text, wide, word)                                       \
    template void RangeAndChoiceChecker::operator()(type const&) const;                       \
    template void RangeAndChoiceChecker::operator()(std::vector<type> const&) const;          \
    template ustring RangeAndChoiceChecker::getChoicesStr(std::vector<type> const&) const;    \
    template ustring RangeAndChoiceChecker::getBoundUstr(boost::optional<type> const&) const; \
    template ustring RangeAndChoiceChecker::getValueStrForErrorMessage(type const&) const;
SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ROW)
#undef SETTINGSCORE_ROW

}  // namespace settings::core::detail
