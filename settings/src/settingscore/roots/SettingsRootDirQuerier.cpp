#include <settingscore/roots/SettingsRootDirQuerier.hpp>

#include <cstdio>

#include <settingscore/errors/FileExceptions.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/host/Platform.hpp>
#include <settingscore/prefdir/PreferencesDirectory.hpp>

namespace settings::core {

ustring SettingsRootDirQuerier::UserRoot() {
    ustring const directory = qf::i18n::getenv("SETTINGS_USERDIR");
    if (!directory.empty()) return directory;
    try {
        return getPreferencesDirectoryUStr(true);
    } catch (exception::RelativePreferencePathNotSupported const& error) {
        std::fprintf(stderr, "%s \n", error.getErrorMessage().c_str());
        std::fflush(stderr);
        qf::app::fast_exit(1);
    }
    // Only where a program has put another function in the place of the exit.
    return {};
}

ustring SettingsRootDirQuerier::WorkgroupRoot() {
    return qf::i18n::getenv("SETTINGS_WORKGROUPDIR");
}

ustring SettingsRootDirQuerier::FactoryRoot() {
    ustring const directory = qf::i18n::getenv("SETTINGS_FACTORYDIR");
    if (!directory.empty()) return directory;
    return (qf::filesystem::path(zenbarRootUStr()) / u"toolbox").str();
}

}  // namespace settings::core
