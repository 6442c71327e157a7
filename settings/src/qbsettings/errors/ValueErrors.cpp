// Texts of refused values.

#include <qbsettings/errors/Teller.hpp>
#include <qbsettings/text/Rules.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/tree/KeyDescription.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

using namespace settings::core::exception;
using qf::i18n::to_string;

namespace {

std::string function(detail::WithFunction const& error) {
    return error.getFunctionName() + " of " + error.getPackageName();
}

/// The text of the value in an error; that of an 8-bit number is the one character.
std::string refusedText(unsigned long element, qf::ustring const& text) {
    constexpr unsigned long int8 = 3;
    constexpr unsigned long uint8 = 4;
    if (text.size() == 1 && element == int8) {
        return std::to_string(static_cast<int>(static_cast<signed char>(text.front())));
    }
    if (text.size() == 1 && element == uint8) {
        return std::to_string(static_cast<int>(static_cast<unsigned char>(text.front())));
    }
    return shortest(element, to_string(text));
}

template <class Error>
std::string outOfBounds(Error const& error, std::vector<std::string> const& given) {
    std::string value = given.size() == 1 ? given.front() : to_string(error.getValueToSetStr());
    if (!error.getCausingObject()) return inQuotes(value) + " is not allowed";
    auto const description = settings::core::describeKey(error.getCausingObject());
    if (given.size() != 1) {
        value = refusedText(elementOf(description), error.getValueToSetStr());
    }
    return inQuotes(value) + " is not allowed: it takes " + boundsText(description);
}

std::string wrongSize(DataArraySizeOutOfRange const& error) {
    return countText(error.getActualArraySize()) + ", it takes " +
           sizeText(error.getMinArraySize(), error.getMaxArraySize());
}

}  // namespace

void tellValues(Teller& teller, std::vector<std::string> const& given) {
    teller.when<DataArraySizeOutOfRange>([](auto const& e) { return wrongSize(e); })
        .when<ValueIsNotOneOfTheChoicesAndNotInRange>(
            [&](auto const& e) { return outOfBounds(e, given); })
        .when<ValueIsNotInRange>([&](auto const& e) { return outOfBounds(e, given); })
        .when<DefaultValidationFailedOnVoidType>([](auto const&) { return "there is no value"; })
        .when<UnsupportedType>(
            [](auto const& e) { return "values of type " + e.getTypeName() + " cannot be stored"; })
        .when<ExceptionFromValidationFunction>([&](auto const& e) {
            std::vector<std::string> const value =
                given.empty() ? elementTexts(e.getValue()) : given;
            return inQuotes(join(value, ", ")) + " is refused by " + function(e) + ": " +
                   to_string(e.getErrorMsg());
        })
        .when<DataTypeNotMatch>([](auto const& e) {
            return "it takes " + e.getExpectedTypeName() + ", the value is of type " +
                   e.getActualTypeName();
        })
        .when<CannotChangeValueForReadOnlySetting>([](auto const&) { return "it is read-only"; })
        .when<ValidationFunctionInvokingError>([](auto const& e) {
            return "the function " + function(e) +
                   " that checks its values cannot be called: " + to_string(e.getErrorMsg());
        })
        .when<RunTimeFuncInvokingError>([](auto const& e) {
            return "the function " + function(e) +
                   " that computes its default failed: " + to_string(e.getErrorMsg());
        })
        .when<RuntimeFuncErrorConvertingZxArrayToAny>([](auto const& e) {
            return "the function " + function(e) +
                   " that computes its default returned a value of a type that cannot be stored";
        })
        .when<ErrorLoadingLibrary>([](auto const& e) {
            return "the library " + e.getLibName() +
                   " cannot be loaded: " + to_string(e.getErrorMsg());
        })
        .when<AttemptToGetValueFromVoid>([](auto const&) { return "there is no value"; })
        .when<ValidationException>(
            [](auto const& e) { return "the value is refused: " + to_string(e.getErrorMsg()); });
}

}  // namespace qbsettings
