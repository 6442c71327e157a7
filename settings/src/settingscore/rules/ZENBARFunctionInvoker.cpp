#include <settingscore/rules/ZENBARFunctionInvoker.hpp>

#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/host/Except.hpp>
#include <settingscore/host/Platform.hpp>
#include <settingscore/rules/InstalledFunction.hpp>

namespace settings::core {

using ZENBAR::settings::core::ExecEngineNotReadyForProcessingZFunction;
using ZENBAR::settings::core::ZENBARFuncMustBeInvokedByExecEngine;

ZENBARFunctionInvoker::ZENBARFunctionInvoker(std::string const& packageName,
                                             std::string const& functionName)
    : packageName_(packageName), functionName_(functionName) {}

detail::InstalledFunction<boost::function<void()>>& ZENBARFunctionInvoker::loadConfigProxy_() {
    static auto& proxy =
        detail::neverDestroyed<detail::InstalledFunction<boost::function<void()>>>();
    return proxy;
}

void ZENBARFunctionInvoker::setLoadConfigProxy(boost::function<void()> const& proxy) {
    loadConfigProxy_().set(proxy);
}

boost::function<void()> ZENBARFunctionInvoker::getLoadConfigProxy() {
    return *loadConfigProxy_().get();
}

void ZENBARFunctionInvoker::checkConditions(bool (*isProxyInstalled)()) {
    auto const loadConfig = loadConfigProxy_().get();
    if (!loadConfig->empty() && !isProxyInstalled()) (*loadConfig)();
    if (!isProxyInstalled()) {
        ZENBAR::settings::core::throwMessage<ExecEngineNotReadyForProcessingZFunction>();
    }
    checkThreadToRun();
}

void ZENBARFunctionInvoker::checkThreadToRun() {
    if (quIsSignalThread() == 0) {
        ZENBAR::settings::core::throwMessage<ZENBARFuncMustBeInvokedByExecEngine>();
    }
}

}  // namespace settings::core
