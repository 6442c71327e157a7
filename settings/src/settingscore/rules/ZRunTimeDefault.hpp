#pragma once

#include <string>

#include <boost/any.hpp>
#include <boost/function.hpp>
#include <settingscore/Export.hpp>
#include <settingscore/rules/ZENBARFunctionInvoker.hpp>

namespace settings::core {

namespace detail {
template <class Function>
class InstalledFunction;
}

/// A runtime default that is a function of the host's scripting language. It runs on the host's
/// signal thread only: a read on another thread fails before the function is reached.
class SETTINGSCORE_API ZRunTimeDefault : public ZENBARFunctionInvoker {
public:
    /// Called with package and function; stores the value in the last argument.
    using Proxy = boost::function<void(std::string const&, std::string const&, boost::any*)>;

    /// Names the function.
    ZRunTimeDefault(std::string const& packageName, std::string const& functionName);
    /// @{
    /// The level whose stored value the default stands for; empty until it arrives on a tree.
    std::string getBelongingLevel() const { return belongingLevel_; }
    void setBelongingLevel(std::string const& level) { belongingLevel_ = level; }
    /// @}

    /// Runs the function. @throws exception::RunTimeFuncInvokingError for every failure
    boost::any operator()() const;
    /// Compares the names and the level.
    bool operator==(ZRunTimeDefault const& other) const;

    /// @{
    /// The host's bridge. It may be replaced at any time; a call that runs keeps the one it has.
    static void setZRunTimeProxyFname(Proxy const& proxy);
    static Proxy getZRunTimeProxyFname();
    /// @}

private:
    static void checkConditions();
    static detail::InstalledFunction<Proxy>& runtimeProxyFname_();

    std::string belongingLevel_;
};

}  // namespace settings::core
