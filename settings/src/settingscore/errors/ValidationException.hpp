#pragma once

#include <string>
#include <utility>

#include <settingscore/errors/InternalError.hpp>

namespace settings::core::exception {

/// Which of the value checks refused. The numbers are part of the interface; 4 is not in use.
enum ValidationErrorCode {
    DataArraySizeOutOfRangeCode = 0,
    /// Of `DefaultValidationFailedOnVoidType` and of `UnsupportedType`.
    UnusableTypeCode = 1,
    ValueIsNotOneOfTheChoicesAndNotInRangeCode = 2,
    ValueIsNotInRangeCode = 3,
    DataTypeNotMatchCode = 5,
    ExceptionFromValidationFunctionCode = 6
};

/// Base of the errors that refuse a value.
class SETTINGSCORE_API ValidationException : public InternalError {
public:
    ValidationException(NodePtr causingObject, ValidationErrorCode code, ustring errorMsg)
        : causingObject_(std::move(causingObject)), errorMsg_(std::move(errorMsg)), code_(code) {}

    /// Which check refused the value.
    ValidationErrorCode getErrorCode() const { return code_; }
    /// The reason, for people.
    ustring const& getErrorMsg() const { return errorMsg_; }
    /// The key whose value was refused; for `ExceptionFromValidationFunction` its parent, the key
    /// being `getKeyName()`. Empty if there is no such node any more.
    NodePtr const& getCausingObject() const { return causingObject_; }

protected:
    /// With the fixed text of a class, which is plain ASCII, as the message.
    ValidationException(NodePtr causingObject, ValidationErrorCode code, char const* text)
        : ValidationException(std::move(causingObject), code,
                              ustring(text, text + std::char_traits<char>::length(text))) {}

private:
    NodePtr causingObject_;
    ustring errorMsg_;
    ValidationErrorCode code_;
};

}  // namespace settings::core::exception
