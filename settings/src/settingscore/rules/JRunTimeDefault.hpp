#pragma once

#include <string>

#include <boost/any.hpp>
#include <boost/function.hpp>
#include <settingscore/Export.hpp>

namespace settings::core {

namespace detail {
template <class Function>
class InstalledFunction;
}

/// A runtime default that is a Java method. Unlike Java validators it takes no lock and translates
/// no failure.
class SETTINGSCORE_API JRunTimeDefault {
public:
    /// Called with package and function; returns the value.
    using Proxy = boost::function<boost::any(std::string const&, std::string const&)>;

    /// Names the method.
    JRunTimeDefault(std::string const& packageName, std::string const& functionName);
    /// @{
    /// The names.
    std::string getPackageName() const { return packageName_; }
    std::string getFunctionName() const { return functionName_; }
    /// @}
    /// @{
    /// The level whose stored value the default stands for; empty until it arrives on a tree.
    std::string getBelongingLevel() const { return belongingLevel_; }
    void setBelongingLevel(std::string const& level) { belongingLevel_ = level; }
    /// @}

    /// Runs the method.
    /// @throws boost::bad_function_call if no proxy is installed; what the proxy throws, unchanged
    boost::any operator()() const;
    /// Compares the names and the level.
    bool operator==(JRunTimeDefault const& other) const;

    /// The host's bridge. It may be replaced at any time; a call that runs keeps the one it has.
    /// Several threads may be inside it at once.
    static void setJRuntimeDefaultProxy(Proxy const& proxy);

private:
    static detail::InstalledFunction<Proxy>& runtimeDefaultProxy_();

    std::string packageName_;
    std::string functionName_;
    std::string belongingLevel_;
};

}  // namespace settings::core
