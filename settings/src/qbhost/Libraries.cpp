#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/Platform.hpp>

namespace {

std::string& lastError() {
    thread_local std::string text;
    return text;
}

/// The folders of QBHOST_LIBRARY_PATH, then the folder "lib" of the host. Whoever calls a program
/// that has more rights than himself must not bring code into it.
std::vector<std::string> libraryFolders() {
    std::vector<std::string> folders;
    if (char const* const list = ::secure_getenv("QBHOST_LIBRARY_PATH")) {
        for (char const* from = list; *from != '\0';) {
            std::size_t const length = std::strcspn(from, ":");
            if (length > 0) folders.emplace_back(from, length);
            from += length;
            if (*from == ':') ++from;
        }
    }
    folders.push_back((qf::filesystem::path(qf::filesystem::get_install_path()) / u"lib").native());
    return folders;
}

std::string findLibrary(std::string const& name) {
    if (name.find('/') == std::string::npos) {
        for (std::string const& folder : libraryFolders()) {
            std::string file = folder + "/" + name;
            if (::access(file.c_str(), F_OK) == 0) return file;
        }
    }
    return name;
}

}  // namespace

void* quGetModule(char const* fileName, int* status) {
    int ignored = 0;
    int& result = status ? *status : ignored;
    result = -1;
    // An empty name would give the program itself.
    if (!fileName || *fileName == '\0') {
        lastError() = "no library is named";
        return nullptr;
    }
    void* const handle = ::dlopen(findLibrary(fileName).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle) {
        result = 0;
    } else {
        char const* const text = ::dlerror();
        lastError() = text ? text : "unknown failure";
    }
    return handle;
}

void* quFindSymbolInLibrary(void* handle, char const* name) {
    // A null handle would search the whole program.
    if (!handle || !name) return nullptr;
    void* const symbol = ::dlsym(handle, name);
    // The search goes on in the libraries that this one needs; a misspelt function must not end up
    // in the C library.
    link_map* library = nullptr;
    link_map* owner = nullptr;
    Dl_info info;
    bool const isOwn =
        symbol && ::dlinfo(handle, RTLD_DI_LINKMAP, &library) == 0 &&
        ::dladdr1(symbol, &info, reinterpret_cast<void**>(&owner), RTLD_DL_LINKMAP) != 0 &&
        owner == library;
    return isOwn ? symbol : nullptr;
}

char const* quLastLibraryError() { return lastError().c_str(); }

char const* quLibrarySuffix() { return ".so"; }
