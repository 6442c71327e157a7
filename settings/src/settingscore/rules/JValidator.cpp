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

detail::InstalledFunction<JValidator::Proxy>& JValidator::valProxy_() {
    static auto& proxy = detail::neverDestroyed<detail::InstalledFunction<Proxy>>();
    return proxy;
}

detail::InstalledFunction<JValidator::Initializer>& JValidator::jValInitializer_() {
    static auto& initializer = detail::neverDestroyed<detail::InstalledFunction<Initializer>>();
    return initializer;
}

void JValidator::setJValProxy(Proxy const& proxy) {
    boost::lock_guard<boost::recursive_mutex> const guard(mutex_());
    valProxy_().set(proxy);
}

void JValidator::setJValInitializer(Initializer const& initializer) {
    boost::lock_guard<boost::recursive_mutex> const guard(mutex_());
    jValInitializer_().set(initializer);
}

void JValidator::clearFunctions() {
    boost::lock_guard<boost::recursive_mutex> const guard(mutex_());
    valProxy_().set({});
    jValInitializer_().set({});
}

std::shared_ptr<JValidator::Proxy const> JValidator::readyProxy() {
    if (valProxy_().empty()) {
        auto const initializer = jValInitializer_().get();
        if (initializer->empty()) {
            ZENBAR::settings::core::throwMessage<JVMNotReadyForProcessingJavaFunction>();
        }
        ustring const error = (*initializer)();
        if (!error.empty() || valProxy_().empty()) {
            ZENBAR::settings::core::throwMessage<SettingsLibraryNotInitialized>(error);
        }
    }
    return valProxy_().get();
}

void JValidator::invokeValidationFunction(boost::shared_ptr<Settings const> const& parent,
                                          std::string const& keyName,
                                          boost::any const& value) const {
    using exception::ValidationFunctionInvokingError;
    boost::lock_guard<boost::recursive_mutex> const guard(mutex_());
    JavaValidationScope const scope;
    try {
        auto const proxy = readyProxy();
        (*proxy)(packageName_, functionName_, parent, keyName, value);
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
