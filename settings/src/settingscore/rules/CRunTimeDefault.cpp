#include <settingscore/rules/CRunTimeDefault.hpp>

#include <boost/make_shared.hpp>
#include <settingscore/errors/FunctionExceptions.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/host/Except.hpp>
#include <settingscore/rules/CFunctionInvoker.hpp>

namespace settings::core {

CRunTimeDefault::CRunTimeDefault(std::string const& packageName, std::string const& functionName)
    : invoker_(boost::make_shared<CFunctionInvoker<FunctionPointer, Function>>(packageName,
                                                                               functionName)) {}

std::string CRunTimeDefault::getPackageName() const { return invoker_->getPackageName(); }
std::string CRunTimeDefault::getFunctionName() const { return invoker_->getFunctionName(); }

boost::any CRunTimeDefault::operator()() const {
    using exception::RunTimeFuncInvokingError;
    try {
        boost::any result;
        invoker_->findFunction()(&result);
        return result;
    } catch (qf::except::Exception<ZENBAR::settings::core::CFunctionNotFound, std::exception,
                                   void> const& error) {
        throw RunTimeFuncInvokingError(getFunctionName(), getPackageName(),
                                       error.GetUnicodeMessageTxt());
    } catch (exception::ErrorLoadingLibrary const& error) {
        throw RunTimeFuncInvokingError(getFunctionName(), getPackageName(), error.getErrorMsg());
    } catch (...) {
        throw RunTimeFuncInvokingError(getFunctionName(), getPackageName(), u"Unknown");
    }
}

bool CRunTimeDefault::operator==(CRunTimeDefault const& other) const {
    return getPackageName() == other.getPackageName() &&
           getFunctionName() == other.getFunctionName() && belongingLevel_ == other.belongingLevel_;
}

}  // namespace settings::core
