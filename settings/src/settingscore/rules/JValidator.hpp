#pragma once

#include <memory>
#include <string>

#include <boost/any.hpp>
#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/Export.hpp>
#include <settingscore/host/UString.hpp>

namespace boost {
class recursive_mutex;
}

namespace settings::core {

namespace detail {
template <class Function>
class InstalledFunction;
}

class Settings;

/// A validator that is a Java method. All Java validations of the process run one at a time, on
/// the threads that ask for them; one may start another on its own thread.
class SETTINGSCORE_API JValidator {
public:
    /// Called with package, function, the key's parent, the key's name and the value. Returns to
    /// accept; throws a `qf::except::IException` to refuse.
    using Proxy = boost::function<void(std::string const&, std::string const&,
                                       boost::shared_ptr<Settings const> const&, std::string const&,
                                       boost::any const&)>;
    /// Installs the proxy; returns an error text, empty on success.
    using Initializer = boost::function<ustring()>;

    /// Names the method.
    JValidator(std::string const& packageName, std::string const& functionName);
    /// @{
    /// The names.
    std::string getPackageName() const { return packageName_; }
    std::string getFunctionName() const { return functionName_; }
    /// @}

    /// Runs the method, after the initializer if there is no proxy yet. A return means that the
    /// value is accepted.
    /// @throws exception::ExceptionFromValidationFunction if the method refused the value;
    ///         exception::ValidationFunctionInvokingError if it could not be reached, or threw
    ///         something of another kind ("Unknown")
    void invokeValidationFunction(boost::shared_ptr<Settings const> const& parent,
                                  std::string const& keyName, boost::any const& value) const;
    /// Compares the names.
    bool operator==(JValidator const& other) const;

    /// @{
    /// These three wait for a running validation of another thread.
    static void setJValProxy(Proxy const& proxy);
    static void setJValInitializer(Initializer const& initializer);
    static void clearFunctions();
    /// @}

private:
    static boost::recursive_mutex& mutex_();
    static detail::InstalledFunction<Proxy>& valProxy_();
    static detail::InstalledFunction<Initializer>& jValInitializer_();
    static std::shared_ptr<Proxy const> readyProxy();

    std::string packageName_;
    std::string functionName_;
};

}  // namespace settings::core
