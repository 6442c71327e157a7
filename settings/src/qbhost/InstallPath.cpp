#include <cstdlib>
#include <memory>
#include <string>

#include <dlfcn.h>
#include <unistd.h>

#include <qbhost/QbHost.hpp>
#include <qbhost/Replaceable.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>

namespace {

qbhost::detail::Replaceable<qf::ustring>& givenPath() {
    return qbhost::detail::immortal<qbhost::detail::Replaceable<qf::ustring>>();
}

/// An address within this library.
int const anchor = 0;

std::string libraryFile() {
    Dl_info info{};
    if (!::dladdr(&anchor, &info) || !info.dli_fname) return {};
    std::unique_ptr<char, void (*)(void*)> const real(::realpath(info.dli_fname, nullptr),
                                                      std::free);
    return real ? real.get() : info.dli_fname;
}

void toParent(std::string& folder) {
    folder.resize(folder.rfind('/') == std::string::npos ? 0 : folder.rfind('/'));
}

/// The data folder installed with the library, which lies in PREFIX/lib or PREFIX/lib/ARCHITECTURE;
/// the source tree for a library in a build tree. Looking further up would give a build tree
/// somewhere below a prefix the data of what is installed there.
std::string pathByLibrary() {
    std::string folder = libraryFile();
    toParent(folder);
    for (int level = 0; level < 2 && !folder.empty(); ++level) {
        toParent(folder);
        std::string data = folder + "/share/qbsettings";
        if (::access((data + "/settings/src/settingscore/settings.xsd").c_str(), F_OK) == 0)
            return data;
    }
    return QBHOST_BUILD_ROOT;
}

}  // namespace

qf::ustring qf::filesystem::get_install_path() {
    auto const given = givenPath().get();
    if (!given->empty()) return *given;
    ustring const fromEnvironment = i18n::getenv("QBHOST_ROOT");
    if (!fromEnvironment.empty()) return absolute(fromEnvironment, path()).str();
    static ustring const& byLibrary = *new ustring(from_native(pathByLibrary()).str());
    return byLibrary;
}

void qbhost::setInstallPath(qf::ustring const& path) {
    using qf::filesystem::absolute;
    givenPath().set(path.empty() ? path : absolute(path, qf::filesystem::path()).str());
}
