#pragma once

#include <string>
#include <utility>

#include <settingscore/rules/FunctionLookup.hpp>

namespace settings::core {

/// A function of a library and the handle that it came from. The library stays loaded.
template <class FunctionPointer>
class FuncToRunWithLibHandleGuard {
public:
    FuncToRunWithLibHandleGuard(void* handle, FunctionPointer function)
        : handle_(handle), function_(function) {}
    template <class... Arguments>
    void operator()(Arguments&&... arguments) const {
        function_(std::forward<Arguments>(arguments)...);
    }
    void* handle() const { return handle_; }

private:
    void* handle_;
    FunctionPointer function_;
};

/// Names an exported C function of a shared library.
template <class FunctionPointer, class BoostFunction>
class CFunctionInvoker {
public:
    CFunctionInvoker(std::string packageName, std::string functionName)
        : packageName_(std::move(packageName)), functionName_(std::move(functionName)) {}
    std::string const& getPackageName() const { return packageName_; }
    std::string const& getFunctionName() const { return functionName_; }

    /// Loads the library and looks the function up; nothing is kept for the next call. Empty if
    /// both names are empty.
    /// @throws exception::ErrorLoadingLibrary, ZENBAR::settings::core::CFunctionNotFound
    BoostFunction findFunction() const {
        if (functionName_.empty() && packageName_.empty()) return BoostFunction();
        using namespace functionlookup::cfunction;
        void* const handle = getLibraryHandle(packageName_);
        void* const symbol = findSymbol(handle, packageName_, functionName_);
        return FuncToRunWithLibHandleGuard<FunctionPointer>(
            handle, reinterpret_cast<FunctionPointer>(symbol));
    }

private:
    std::string packageName_;
    std::string functionName_;
};

}  // namespace settings::core
