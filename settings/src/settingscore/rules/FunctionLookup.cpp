#include <settingscore/rules/FunctionLookup.hpp>

#include <boost/filesystem/path.hpp>
#include <settingscore/errors/FunctionExceptions.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/host/Platform.hpp>

namespace settings::core::functionlookup::cfunction {

void* getLibraryHandle(std::string const& libName) {
    std::string const fileName =
        boost::filesystem::path(libName).filename().string() + quLibrarySuffix();
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
