#pragma once

#include <string>
#include <utility>

#include <settingscore/errors/InternalError.hpp>

/// Errors of reaching the functions that validate values or compute defaults.
namespace settings::core::exception {

/// The shared library of a function cannot be loaded.
class SETTINGSCORE_API ErrorLoadingLibrary : public InternalError, public detail::WithErrorMsg {
public:
    ErrorLoadingLibrary(std::string libName, ustring errorMsg)
        : WithErrorMsg(std::move(errorMsg)), libName_(std::move(libName)) {}
    char const* what() const noexcept override {
        return "Error loading the library, please refer to error message for reasons.";
    }
    /// The library.
    std::string const& getLibName() const { return libName_; }

private:
    std::string libName_;
};

/// A runtime default could not be computed.
class SETTINGSCORE_API RunTimeFuncInvokingError : public InternalError,
                                                  public detail::WithFunction,
                                                  public detail::WithErrorMsg {
public:
    RunTimeFuncInvokingError(std::string functionName, std::string packageName, ustring errorMsg)
        : WithFunction(std::move(functionName), std::move(packageName)),
          WithErrorMsg(std::move(errorMsg)) {}
    char const* what() const noexcept override {
        return "Error invoking runtime function. Please refer to error message for detail.";
    }
};

/// A validation function could not be reached; a refusal by the function itself is an
/// `ExceptionFromValidationFunction`.
class SETTINGSCORE_API ValidationFunctionInvokingError : public InternalError,
                                                         public detail::WithFunction,
                                                         public detail::WithErrorMsg {
public:
    ValidationFunctionInvokingError(std::string functionName, std::string packageName,
                                    ustring errorMsg)
        : WithFunction(std::move(functionName), std::move(packageName)),
          WithErrorMsg(std::move(errorMsg)) {}
    char const* what() const noexcept override {
        return "Error invoking validation function. Please refer to error message for detail.";
    }
};

}  // namespace settings::core::exception
