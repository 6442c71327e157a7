#include <settingscore/prefdir/PreferencesDirectory.hpp>

#include <string>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <settingscore/errors/FileExceptions.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/prefdir/FirstStart.hpp>
#include <settingscore/prefdir/PathUtil.hpp>
#include <settingscore/prefdir/Releases.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core {

namespace pathutildetail {
namespace {

/// The directory that was set, and the mutex that guards it and orders creation and copy.
struct SetDirectory {
    boost::mutex mutex;
    ustring prefDirUStr;
};

SetDirectory& setDirectory() {
    static auto& state = detail::neverDestroyed<SetDirectory>();
    return state;
}

ustring const& getDefaultPrefDirOnce() {
    // The guard of a static has just the wanted rules: others wait for the first caller, and an
    // exception leaves the attempt to the next one.
    static auto const& defaultPrefDir = detail::neverDestroyed<ustring>([] {
        ustring directory;
        pathutilinternal::getDefaultPreferencesDirectoryOnce(directory);
        return directory;
    }());
    return defaultPrefDir;
}

}  // namespace
}  // namespace pathutildetail

ustring getPreferencesDirectoryUStr(bool ensureExists) {
    auto& state = pathutildetail::setDirectory();
    boost::lock_guard<boost::mutex> const lock(state.mutex);
    ustring result = state.prefDirUStr;
    if (result.empty()) result = getDefaultPreferencesDirectoryUStr();
    if (!qf::filesystem::detail::is_absolute(result)) {
        throw exception::RelativePreferencePathNotSupported(qf::i18n::to_string(result));
    }
    if (ensureExists) pathutilinternal::makeAndFill(result);
    return result;
}

ustring getDefaultPreferencesDirectoryUStr() { return pathutildetail::getDefaultPrefDirOnce(); }

ustring getStandardPreferencesDirectoryUStr() {
    return pathutilinternal::preferencesDirectoryForRelease(releases::current);
}

ustring getPreviousPreferencesDirectoryUStr() {
    return pathutilinternal::preferencesDirectoryForRelease(releases::previous);
}

ustring getPrefdirFromPreviousTwoReleases() {
    return pathutilinternal::preferencesDirectoryForRelease(releases::twoBack);
}

ustring getPrefdirFromPreviousThreeReleases() {
    return pathutilinternal::preferencesDirectoryForRelease(releases::threeBack);
}

ustring getLocalSettingsDirectoryUStr() {
    ustring const directory = getStandardPreferencesDirectoryUStr();
    ustring copy = directory;
    pathutilinternal::makeAndFill(copy);
    return directory;
}

void setPreferencesDirectoryUStr(ustring const& directory) {
    auto& state = pathutildetail::setDirectory();
    boost::lock_guard<boost::mutex> const lock(state.mutex);
    state.prefDirUStr = directory;
}

void setPreferencesDirectory(char const* directory) {
    setPreferencesDirectoryUStr(directory ? qf::i18n::to_ustring(directory) : ustring());
}

ustring getTimestampFileNameUStr() { return u"creation.timestamp"; }

ustring zenbarRootUStr() { return qf::filesystem::get_install_path(); }

char const* zenbarRoot() {
    static auto const& root =
        detail::neverDestroyed<std::string>(qf::i18n::to_string(zenbarRootUStr()));
    return root.c_str();
}

}  // namespace settings::core
