#pragma once

#include <string>

#include <boost/any.hpp>
#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/Export.hpp>

namespace settings::core {

class Settings;
template <class FunctionPointer, class BoostFunction>
class CFunctionInvoker;

/// A validator that is a C function of a shared library:
///
///     extern "C" void name(boost::shared_ptr<settings::core::Settings const> const& parent,
///                          std::string const& keyName, boost::any const& value);
///
/// It gets the key's parent and name (the parent is null while a key that has none yet is attached;
/// during a load or the trial of a merge it is of a private copy of the product), and refuses the
/// value by throwing an exception derived from `qf::except::IException`, normally a
/// `SettingsException`. Of the package name only the file name is used: "checks" is looked for as
/// "checks", "libqbchecks" and "libchecks", in this order, each with the platform's suffix for
/// libraries. Library and function are looked up for each call.
class SETTINGSCORE_API CValidator {
public:
    /// @{
    /// The function, as it is exported and as it is called.
    using FunctionPointer = void (*)(boost::shared_ptr<Settings const> const&, std::string const&,
                                     boost::any const&);
    using Function = boost::function<void(boost::shared_ptr<Settings const> const&,
                                          std::string const&, boost::any const&)>;
    /// @}

    /// Names the function; it is looked up when it is called.
    CValidator(std::string const& packageName, std::string const& functionName);
    /// @{
    /// The names.
    std::string getPackageName() const;
    std::string getFunctionName() const;
    /// @}

    /// Runs the function. A return means that the value is accepted.
    /// @throws exception::ExceptionFromValidationFunction if the function refused the value;
    ///         exception::ValidationFunctionInvokingError if the library or the function is
    ///         missing; what the function throws, unchanged, if it is no `qf::except::IException`;
    ///         boost::bad_function_call if both names are empty
    void invokeValidationFunction(boost::shared_ptr<Settings const> const& parent,
                                  std::string const& keyName, boost::any const& value) const;
    /// Compares the names.
    bool operator==(CValidator const& other) const;

private:
    boost::shared_ptr<CFunctionInvoker<FunctionPointer, Function>> invoker_;
};

}  // namespace settings::core
