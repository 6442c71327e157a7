#include <settingscore/rules/ZRunTimeDefault.hpp>

#include <settingscore/errors/FunctionExceptions.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/host/Except.hpp>
#include <settingscore/rules/InstalledFunction.hpp>

namespace settings::core {

ZRunTimeDefault::ZRunTimeDefault(std::string const& packageName, std::string const& functionName)
    : ZENBARFunctionInvoker(packageName, functionName) {}

detail::InstalledFunction<ZRunTimeDefault::Proxy>& ZRunTimeDefault::runtimeProxyFname_() {
    static auto& proxy = detail::neverDestroyed<detail::InstalledFunction<Proxy>>();
    return proxy;
}

void ZRunTimeDefault::setZRunTimeProxyFname(Proxy const& proxy) { runtimeProxyFname_().set(proxy); }

ZRunTimeDefault::Proxy ZRunTimeDefault::getZRunTimeProxyFname() {
    return *runtimeProxyFname_().get();
}

void ZRunTimeDefault::checkConditions() {
    ZENBARFunctionInvoker::checkConditions([] { return !runtimeProxyFname_().empty(); });
}

boost::any ZRunTimeDefault::operator()() const {
    std::string const package = getPackageName();
    std::string const function = getFunctionName();
    using exception::RunTimeFuncInvokingError;
    using namespace ZENBAR::settings::core;
    try {
        checkConditions();
        boost::any result;
        auto const proxy = runtimeProxyFname_().get();
        (*proxy)(package, function, &result);
        return result;
    } catch (qf::except::Exception<ZENBARFuncMustBeInvokedByExecEngine, std::exception, void> const&
                 error) {
        throw RunTimeFuncInvokingError(function, package, error.GetUnicodeMessageTxt());
    } catch (qf::except::Exception<ExecEngineNotReadyForProcessingZFunction, std::exception,
                                   void> const& error) {
        throw RunTimeFuncInvokingError(function, package, error.GetUnicodeMessageTxt());
    } catch (qf::except::IException const& error) {
        throw RunTimeFuncInvokingError(function, package, qf::i18n::to_ustring(error.what()));
    } catch (...) {
        throw RunTimeFuncInvokingError(function, package, u"Unknown");
    }
}

bool ZRunTimeDefault::operator==(ZRunTimeDefault const& other) const {
    return getPackageName() == other.getPackageName() &&
           getFunctionName() == other.getFunctionName() && belongingLevel_ == other.belongingLevel_;
}

}  // namespace settings::core
