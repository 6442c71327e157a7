#pragma once

#include <string>
#include <utility>

#include <boost/any.hpp>
#include <settingscore/errors/ValidationException.hpp>

/// The checks that refuse a value.
namespace settings::core::exception {

/// The value has too few elements or too many.
class SETTINGSCORE_API DataArraySizeOutOfRange : public ValidationException {
public:
    DataArraySizeOutOfRange(NodePtr node, unsigned long minimum, unsigned long maximum,
                            unsigned long actual)
        : ValidationException(std::move(node), DataArraySizeOutOfRangeCode, text),
          minimum_(minimum),
          maximum_(maximum),
          actual_(actual) {}
    char const* what() const noexcept override { return text; }
    /// The least number of elements.
    unsigned long getMinArraySize() const { return minimum_; }
    /// 0 means no limit.
    unsigned long getMaxArraySize() const { return maximum_; }
    /// The number that the value has.
    unsigned long getActualArraySize() const { return actual_; }

private:
    static constexpr char const* text = "The array size is out of range ";
    unsigned long minimum_;
    unsigned long maximum_;
    unsigned long actual_;
};

/// The value is none of the choices, nor in the range if there is one.
class SETTINGSCORE_API ValueIsNotOneOfTheChoicesAndNotInRange : public ValidationException {
public:
    ValueIsNotOneOfTheChoicesAndNotInRange(NodePtr node, ustring minimum, ustring maximum,
                                           ustring choices, ustring valueToSet)
        : ValidationException(std::move(node), ValueIsNotOneOfTheChoicesAndNotInRangeCode, text),
          minimum_(std::move(minimum)),
          maximum_(std::move(maximum)),
          choices_(std::move(choices)),
          valueToSet_(std::move(valueToSet)) {}
    char const* what() const noexcept override { return text; }
    /// @{
    /// Empty if there is no minimum; so with the maximum.
    ustring const& getMinValueStr() const { return minimum_; }
    ustring const& getMaxValueStr() const { return maximum_; }
    /// @}
    /// The choices with ", " between them.
    ustring const& getChoicesStr() const { return choices_; }
    /// The value, or the element of an array, that was refused. An 8-bit number is the character of
    /// that number.
    ustring const& getValueToSetStr() const { return valueToSet_; }

private:
    static constexpr char const* text =
        "The value passed in is not one of the predefined choices and/or it is not in the "
        "predefined range.";
    ustring minimum_;
    ustring maximum_;
    ustring choices_;
    ustring valueToSet_;
};

/// The value is not in the range.
class SETTINGSCORE_API ValueIsNotInRange : public ValidationException {
public:
    ValueIsNotInRange(NodePtr node, ustring minimum, ustring maximum, ustring valueToSet)
        : ValidationException(std::move(node), ValueIsNotInRangeCode, text),
          minimum_(std::move(minimum)),
          maximum_(std::move(maximum)),
          valueToSet_(std::move(valueToSet)) {}
    char const* what() const noexcept override { return text; }
    /// @{
    /// Empty if there is no minimum; so with the maximum.
    ustring const& getMinValueStr() const { return minimum_; }
    ustring const& getMaxValueStr() const { return maximum_; }
    /// @}
    /// As in `ValueIsNotOneOfTheChoicesAndNotInRange`.
    ustring const& getValueToSetStr() const { return valueToSet_; }

private:
    static constexpr char const* text = "The value passed in is not in the predefined range";
    ustring minimum_;
    ustring maximum_;
    ustring valueToSet_;
};

/// The value is empty.
class SETTINGSCORE_API DefaultValidationFailedOnVoidType : public ValidationException {
public:
    explicit DefaultValidationFailedOnVoidType(NodePtr node)
        : ValidationException(std::move(node), UnusableTypeCode, text) {}
    char const* what() const noexcept override { return text; }

private:
    static constexpr char const* text = "The value passed in is void";
};

/// The value is of a type that no setting can have.
class SETTINGSCORE_API UnsupportedType : public ValidationException {
public:
    UnsupportedType(NodePtr node, std::string typeName)
        : ValidationException(std::move(node), UnusableTypeCode, text),
          typeName_(std::move(typeName)) {}
    char const* what() const noexcept override { return text; }
    /// The C++ type that the value holds.
    std::string const& getTypeName() const { return typeName_; }

private:
    static constexpr char const* text =
        "The type of the value passed in is not on the supported list.";
    std::string typeName_;
};

/// A validation function ran and refused the value; `getErrorMsg()` is what it said.
class SETTINGSCORE_API ExceptionFromValidationFunction : public ValidationException,
                                                         public detail::WithFunction {
public:
    ExceptionFromValidationFunction(NodePtr node, std::string keyName, boost::any value,
                                    std::string functionName, std::string packageName,
                                    ustring errorMsg)
        : ValidationException(std::move(node), ExceptionFromValidationFunctionCode,
                              std::move(errorMsg)),
          WithFunction(std::move(functionName), std::move(packageName)),
          keyName_(std::move(keyName)),
          value_(std::move(value)) {}
    char const* what() const noexcept override {
        return "Exception thrown by the validation function.";
    }
    /// The key.
    std::string const& getKeyName() const { return keyName_; }
    /// The value that was refused.
    boost::any const& getValue() const { return value_; }

private:
    std::string keyName_;
    boost::any value_;
};

}  // namespace settings::core::exception
