#include <settingscore/rules/ZValidator.hpp>

#include <settingscore/errors/FunctionExceptions.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/errors/ValueExceptions.hpp>
#include <settingscore/host/Except.hpp>
#include <settingscore/rules/InstalledFunction.hpp>

namespace settings::core {

ZValidator::ZValidator(std::string const& packageName, std::string const& functionName)
    : ZENBARFunctionInvoker(packageName, functionName) {}

detail::InstalledFunction<ZValidator::Proxy>& ZValidator::valProxyFuncName_() {
    static auto& proxy = detail::neverDestroyed<detail::InstalledFunction<Proxy>>();
    return proxy;
}

void ZValidator::setZENBARValFuncInvokingProxyName(Proxy const& proxy) {
    valProxyFuncName_().set(proxy);
}

ZValidator::Proxy ZValidator::getZENBARValFuncInvokingProxyName() {
    return *valProxyFuncName_().get();
}

void ZValidator::checkConditions() {
    ZENBARFunctionInvoker::checkConditions([] { return !valProxyFuncName_().empty(); });
}

void ZValidator::invokeValidationFunction(boost::shared_ptr<Settings const> const& parent,
                                          std::string const& keyName,
                                          boost::any const& value) const {
    std::string const package = getPackageName();
    std::string const function = getFunctionName();
    using exception::ValidationFunctionInvokingError;
    using namespace ZENBAR::settings::core;
    try {
        checkConditions();
        auto const proxy = valProxyFuncName_().get();
        (*proxy)(package, function, parent, keyName, value);
    } catch (qf::except::Exception<ZENBARFuncMustBeInvokedByExecEngine, std::exception, void> const&
                 error) {
        throw ValidationFunctionInvokingError(function, package, error.GetUnicodeMessageTxt());
    } catch (qf::except::Exception<ExecEngineNotReadyForProcessingZFunction, std::exception,
                                   void> const& error) {
        throw ValidationFunctionInvokingError(function, package, error.GetUnicodeMessageTxt());
    } catch (qf::except::IException const& error) {
        throw exception::ExceptionFromValidationFunction(parent, keyName, value, function, package,
                                                         qf::i18n::to_ustring(error.what()));
    } catch (...) {
        throw ValidationFunctionInvokingError(function, package, u"Unknown");
    }
}

bool ZValidator::operator==(ZValidator const& other) const {
    return getPackageName() == other.getPackageName() &&
           getFunctionName() == other.getFunctionName();
}

}  // namespace settings::core
