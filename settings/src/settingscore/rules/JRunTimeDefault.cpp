#include <settingscore/rules/JRunTimeDefault.hpp>

#include <settingscore/rules/InstalledFunction.hpp>

namespace settings::core {

JRunTimeDefault::JRunTimeDefault(std::string const& packageName, std::string const& functionName)
    : packageName_(packageName), functionName_(functionName) {}

detail::InstalledFunction<JRunTimeDefault::Proxy>& JRunTimeDefault::runtimeDefaultProxy_() {
    static auto& proxy = detail::neverDestroyed<detail::InstalledFunction<Proxy>>();
    return proxy;
}

void JRunTimeDefault::setJRuntimeDefaultProxy(Proxy const& proxy) {
    runtimeDefaultProxy_().set(proxy);
}

boost::any JRunTimeDefault::operator()() const {
    auto const proxy = runtimeDefaultProxy_().get();
    return (*proxy)(packageName_, functionName_);
}

bool JRunTimeDefault::operator==(JRunTimeDefault const& other) const {
    return packageName_ == other.packageName_ && functionName_ == other.functionName_ &&
           belongingLevel_ == other.belongingLevel_;
}

}  // namespace settings::core
