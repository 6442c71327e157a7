#pragma once

#include <string>

#include <boost/function.hpp>
#include <settingscore/Export.hpp>

namespace settings::core {

namespace detail {
template <class Function>
class InstalledFunction;
}

/// Names a function of the host's scripting language, and says when one may be called: on the
/// host's signal thread, once the host has installed the proxy that calls it.
class SETTINGSCORE_API ZENBARFunctionInvoker {
public:
    /// Names the function.
    ZENBARFunctionInvoker(std::string const& packageName, std::string const& functionName);
    /// @{
    /// The names.
    std::string getPackageName() const { return packageName_; }
    std::string getFunctionName() const { return functionName_; }
    /// @}

    /// @{
    /// Installs the function that is called when a proxy is missing; it loads the configuration
    /// that installs the proxies. Any thread may call it.
    static void setLoadConfigProxy(boost::function<void()> const& proxy);
    static boost::function<void()> getLoadConfigProxy();
    /// @}

protected:
    /// Asks for the missing proxy once, then makes sure that it is there and that this thread may
    /// call it.
    /// @throws ZENBAR::settings::core::ExecEngineNotReadyForProcessingZFunction,
    ///         ZENBAR::settings::core::ZENBARFuncMustBeInvokedByExecEngine
    static void checkConditions(bool (*isProxyInstalled)());
    /// The last of these checks alone.
    static void checkThreadToRun();

private:
    static detail::InstalledFunction<boost::function<void()>>& loadConfigProxy_();

    std::string packageName_;
    std::string functionName_;
};

}  // namespace settings::core
