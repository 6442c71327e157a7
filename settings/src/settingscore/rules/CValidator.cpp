#include <settingscore/rules/CValidator.hpp>

#include <boost/make_shared.hpp>
#include <settingscore/errors/FunctionExceptions.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/errors/ValueExceptions.hpp>
#include <settingscore/host/Except.hpp>
#include <settingscore/rules/CFunctionInvoker.hpp>

namespace settings::core {

CValidator::CValidator(std::string const& packageName, std::string const& functionName)
    : invoker_(boost::make_shared<CFunctionInvoker<FunctionPointer, Function>>(packageName,
                                                                               functionName)) {}

std::string CValidator::getPackageName() const { return invoker_->getPackageName(); }
std::string CValidator::getFunctionName() const { return invoker_->getFunctionName(); }

// What is no `IException` passes on as it is, unlike in the other two kinds: a function of the
// process's own language may have reasons that its caller understands.
void CValidator::invokeValidationFunction(boost::shared_ptr<Settings const> const& parent,
                                          std::string const& keyName,
                                          boost::any const& value) const {
    using exception::ValidationFunctionInvokingError;
    try {
        invoker_->findFunction()(parent, keyName, value);
    } catch (qf::except::Exception<ZENBAR::settings::core::CFunctionNotFound, std::exception,
                                   void> const& error) {
        throw ValidationFunctionInvokingError(getFunctionName(), getPackageName(),
                                              error.GetUnicodeMessageTxt());
    } catch (exception::ErrorLoadingLibrary const& error) {
        throw ValidationFunctionInvokingError(getFunctionName(), getPackageName(),
                                              error.getErrorMsg());
    } catch (qf::except::IException const& error) {
        throw exception::ExceptionFromValidationFunction(parent, keyName, value, getFunctionName(),
                                                         getPackageName(),
                                                         qf::i18n::to_ustring(error.what()));
    }
}

bool CValidator::operator==(CValidator const& other) const {
    return getPackageName() == other.getPackageName() &&
           getFunctionName() == other.getFunctionName();
}

}  // namespace settings::core
