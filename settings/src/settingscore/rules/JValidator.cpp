#include <settingscore/rules/JValidator.hpp>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <settingscore/errors/FunctionExceptions.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/errors/ValueExceptions.hpp>
#include <settingscore/host/Except.hpp>
#include <settingscore/rules/FunctionStatics.hpp>
#include <settingscore/rules/JavaValidation.hpp>

namespace settings::core {

using ZENBAR::settings::core::JVMNotReadyForProcessingJavaFunction;
using ZENBAR::settings::core::SettingsLibraryNotInitialized;

namespace {

thread_local unsigned int javaValidations = 0;

class JavaValidationScope {
public:
    JavaValidationScope() { ++javaValidations; }
    ~JavaValidationScope() { --javaValidations; }
    JavaValidationScope(JavaValidationScope const&) = delete;
    JavaValidationScope& operator=(JavaValidationScope const&) = delete;
};

}  // namespace

bool detail::isInsideJavaValidation() { return javaValidations != 0; }

JValidator::JValidator(std::string const& packageName, std::string const& functionName)
    : packageName_(packageName), functionName_(functionName) {}

boost::recursive_mutex& JValidator::mutex_() {
    static auto& mutex = detail::neverDestroyed<boost::recursive_mutex>();
    return mutex;
}

JValidator::Proxy& JValidator::valProxy_() {
    static auto& proxy = detail::neverDestroyed<Proxy>();
    return proxy;
}

JValidator::Initializer& JValidator::jValInitializer_() {
    static auto& initializer = detail::neverDestroyed<Initializer>();
    return initializer;
}

void JValidator::setJValProxy(Proxy const& proxy) {
    boost::lock_guard<boost::recursive_mutex> const guard(mutex_());
    valProxy_() = proxy;
}

void JValidator::setJValInitializer(Initializer const& initializer) {
    boost::lock_guard<boost::recursive_mutex> const guard(mutex_());
    jValInitializer_() = initializer;
}

void JValidator::clearFunctions() {
    boost::lock_guard<boost::recursive_mutex> const guard(mutex_());
    valProxy_().clear();
    jValInitializer_().clear();
}

// Both functions are called through copies: they may install or clear functions themselves, which
// the recursive mutex does not keep from happening under their feet.
JValidator::Proxy JValidator::readyProxy() {
    if (valProxy_().empty()) {
        Initializer const initializer = jValInitializer_();
        if (initializer.empty()) {
            ZENBAR::settings::core::throwMessage<JVMNotReadyForProcessingJavaFunction>();
        }
        ustring const error = initializer();
        if (!error.empty() || valProxy_().empty()) {
            ZENBAR::settings::core::throwMessage<SettingsLibraryNotInitialized>(error);
        }
    }
    return valProxy_();
}

void JValidator::invokeValidationFunction(boost::shared_ptr<Settings const> const& parent,
                                          std::string const& keyName,
                                          boost::any const& value) const {
    using exception::ValidationFunctionInvokingError;
    boost::lock_guard<boost::recursive_mutex> const guard(mutex_());
    JavaValidationScope const scope;
    try {
        readyProxy()(packageName_, functionName_, parent, keyName, value);
    } catch (qf::except::Exception<JVMNotReadyForProcessingJavaFunction, std::exception,
                                   void> const& error) {
        throw ValidationFunctionInvokingError(functionName_, packageName_,
                                              error.GetUnicodeMessageTxt());
    } catch (
        qf::except::Exception<SettingsLibraryNotInitialized, std::exception, void> const& error) {
        throw ValidationFunctionInvokingError(functionName_, packageName_,
                                              error.GetUnicodeMessageTxt());
    } catch (exception::ExceptionFromValidationFunction const&) {
        throw;
    } catch (ValidationFunctionInvokingError const&) {
        throw;
    } catch (qf::except::IException const& error) {
        throw exception::ExceptionFromValidationFunction(parent, keyName, value, functionName_,
                                                         packageName_,
                                                         qf::i18n::to_ustring(error.what()));
    } catch (...) {
        throw ValidationFunctionInvokingError(functionName_, packageName_, u"Unknown");
    }
}

bool JValidator::operator==(JValidator const& other) const {
    return packageName_ == other.packageName_ && functionName_ == other.functionName_;
}

}  // namespace settings::core
