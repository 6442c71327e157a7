#pragma once

#include <string>

#include <boost/any.hpp>
#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/Export.hpp>
#include <settingscore/rules/ZENBARFunctionInvoker.hpp>

namespace settings::core {

namespace detail {
template <class Function>
class InstalledFunction;
}

class Settings;

/// A validator that is a function of the host's scripting language. It runs on the host's signal
/// thread only: a validation on another thread fails before the function is reached.
class SETTINGSCORE_API ZValidator : public ZENBARFunctionInvoker {
public:
    /// Called with package, function, the key's parent, the key's name and the value. Returns to
    /// accept; throws a `qf::except::IException` to refuse.
    using Proxy = boost::function<void(std::string const&, std::string const&,
                                       boost::shared_ptr<Settings const> const&, std::string const&,
                                       boost::any const&)>;

    /// Names the function.
    ZValidator(std::string const& packageName, std::string const& functionName);

    /// Runs the function. A return means that the value is accepted.
    /// @throws exception::ExceptionFromValidationFunction if the function refused the value;
    ///         exception::ValidationFunctionInvokingError if it could not be reached, or threw
    ///         something of another kind ("Unknown")
    void invokeValidationFunction(boost::shared_ptr<Settings const> const& parent,
                                  std::string const& keyName, boost::any const& value) const;
    /// Compares the names.
    bool operator==(ZValidator const& other) const;

    /// @{
    /// The host's bridge. It may be replaced at any time; a call that runs keeps the one it has.
    static void setZENBARValFuncInvokingProxyName(Proxy const& proxy);
    static Proxy getZENBARValFuncInvokingProxyName();
    /// @}

private:
    static void checkConditions();
    static detail::InstalledFunction<Proxy>& valProxyFuncName_();
};

}  // namespace settings::core
