#include <settingscore/rules/FunctionLookup.hpp>

#include <settingscore/errors/FunctionExceptions.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/host/Platform.hpp>

namespace settings::core::functionlookup::cfunction {

namespace {

/// The last name of a path. A path that ends in a slash means the folder, ".".
std::string lastName(std::string const& path) {
    if (path.find_first_not_of('/') == std::string::npos) return path.size() > 2 ? "/" : path;
    if (path.back() == '/') return ".";
    std::size_t const slash = path.rfind('/');
    // Two slashes in front are the name of another machine.
    if (slash == std::string::npos || (slash == 1 && path.front() == '/')) return path;
    return path.substr(slash + 1);
}

}  // namespace

void* getLibraryHandle(std::string const& libName) {
    std::string const fileName = lastName(libName) + quLibrarySuffix();
    int status = -1;
    for (char const* prefix : {"", "libqb", "lib"}) {
        void* const handle = quGetModule((prefix + fileName).c_str(), &status);
        if (status == 0) return handle;
    }
    throw exception::ErrorLoadingLibrary(libName, qf::i18n::to_ustring(quLastLibraryError()));
}

void* findSymbol(void* handle, std::string const& libName, std::string const& functionName) {
    if (void* const symbol = quFindSymbolInLibrary(handle, functionName.c_str())) return symbol;
    ZENBAR::settings::core::throwMessage<ZENBAR::settings::core::CFunctionNotFound>(functionName,
                                                                                    libName);
}

}  // namespace settings::core::functionlookup::cfunction
