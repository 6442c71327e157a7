#pragma once

#include <string>

#include <boost/any.hpp>
#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/Export.hpp>

namespace settings::core {

template <class FunctionPointer, class BoostFunction>
class CFunctionInvoker;

/// A runtime default that is a C function of a shared library:
///
///     extern "C" void name(boost::any* result);
///
/// The function stores the value in `*result`. The library is found as for `CValidator`, anew for
/// each call.
class SETTINGSCORE_API CRunTimeDefault {
public:
    /// @{
    /// The function, as it is exported and as it is called.
    using FunctionPointer = void (*)(boost::any*);
    using Function = boost::function<void(boost::any*)>;
    /// @}

    /// Names the function; it is looked up when it is called.
    CRunTimeDefault(std::string const& packageName, std::string const& functionName);
    /// @{
    /// The names.
    std::string getPackageName() const;
    std::string getFunctionName() const;
    /// @}
    /// @{
    /// The level whose stored value the default stands for; empty until it arrives on a tree.
    std::string getBelongingLevel() const { return belongingLevel_; }
    void setBelongingLevel(std::string const& level) { belongingLevel_ = level; }
    /// @}

    /// Runs the function.
    /// @throws exception::RunTimeFuncInvokingError for every failure; what the function itself
    ///         throws is reported as "Unknown", but for errors of finding a library or function
    boost::any operator()() const;
    /// Compares the names and the level.
    bool operator==(CRunTimeDefault const& other) const;

private:
    boost::shared_ptr<CFunctionInvoker<FunctionPointer, Function>> invoker_;
    std::string belongingLevel_;
};

}  // namespace settings::core
