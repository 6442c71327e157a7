#include <settingscore/rules/ZENBARFunctionInvoker.hpp>

#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/host/Except.hpp>
#include <settingscore/host/Platform.hpp>
#include <settingscore/rules/FunctionStatics.hpp>

namespace settings::core {

using ZENBAR::settings::core::ExecEngineNotReadyForProcessingZFunction;
using ZENBAR::settings::core::ZENBARFuncMustBeInvokedByExecEngine;

ZENBARFunctionInvoker::ZENBARFunctionInvoker(std::string const& packageName,
                                             std::string const& functionName)
    : packageName_(packageName), functionName_(functionName) {}

boost::function<void()>& ZENBARFunctionInvoker::loadConfigProxy_() {
    static auto& proxy = detail::neverDestroyed<boost::function<void()>>();
    return proxy;
}

void ZENBARFunctionInvoker::setLoadConfigProxy(boost::function<void()> const& proxy) {
    loadConfigProxy_() = proxy;
}

boost::function<void()> ZENBARFunctionInvoker::getLoadConfigProxy() { return loadConfigProxy_(); }

void ZENBARFunctionInvoker::checkConditions(bool (*isProxyInstalled)()) {
    boost::function<void()> const loadConfig = getLoadConfigProxy();
    if (loadConfig && !isProxyInstalled()) loadConfig();
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
