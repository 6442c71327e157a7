#include <settingscore/rules/JValidator.hpp>

#include <boost/thread/lock_types.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <settingscore/errors/FunctionExceptions.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/errors/ValueExceptions.hpp>
#include <settingscore/host/Except.hpp>
#include <settingscore/host/ScopeGuard.hpp>
#include <settingscore/rules/InstalledFunction.hpp>
#include <settingscore/rules/WaitGraph.hpp>

namespace settings::core {

using ZENBAR::settings::core::JVMNotReadyForProcessingJavaFunction;
using ZENBAR::settings::core::SettingsLibraryNotInitialized;

namespace {

thread_local unsigned int javaHolds = 0;

/// The lock of all Java validators, held across a validation. Who waits for it and who has it is
/// known to the graph of waits: a validator may wait for a load that waits for this lock.
class JavaLock {
public:
    explicit JavaLock(boost::recursive_mutex& mutex) : lock_(mutex, boost::try_to_lock) {
        if (!lock_) {
            graph().beginWait(&mutex);
            qf::util::scope_guard const noted([] { graph().endWait(); });
            lock_.lock();
        }
        if (javaHolds == 0) graph().noteHeld(&mutex);
        ++javaHolds;
    }
    ~JavaLock() {
        if (--javaHolds == 0) graph().release(lock_.mutex());
    }
    JavaLock(JavaLock const&) = delete;
    JavaLock& operator=(JavaLock const&) = delete;

private:
    static detail::WaitGraph& graph() { return detail::WaitGraph::instance(); }
    boost::unique_lock<boost::recursive_mutex> lock_;
};

}  // namespace

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
    JavaLock const lock(mutex_());
    valProxy_().set(proxy);
}

void JValidator::setJValInitializer(Initializer const& initializer) {
    JavaLock const lock(mutex_());
    jValInitializer_().set(initializer);
}

void JValidator::clearFunctions() {
    JavaLock const lock(mutex_());
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
    JavaLock const lock(mutex_());
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
