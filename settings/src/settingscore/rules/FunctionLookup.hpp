#pragma once

#include <string>

namespace settings::core::functionlookup::cfunction {

/// Loads or finds the library `libName`: its directory part is dropped, the platform's suffix
/// added, and the name tried as it is, behind "libqb", and behind "lib".
/// @throws exception::ErrorLoadingLibrary
void* getLibraryHandle(std::string const& libName);

/// @throws ZENBAR::settings::core::CFunctionNotFound; `libName` is for its text
void* findSymbol(void* handle, std::string const& libName, std::string const& functionName);

}  // namespace settings::core::functionlookup::cfunction
