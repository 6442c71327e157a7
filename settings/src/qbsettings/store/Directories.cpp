#include <qbsettings/store/Directories.hpp>

#include <algorithm>
#include <cstdlib>

#include <boost/none.hpp>
#include <qbhost/QbHost.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/prefdir/PreferencesDirectory.hpp>
#include <settingscore/tree/ZSettings.hpp>

namespace qbsettings {

using settings::core::BlessedZcrID;
using settings::core::Settings;
using settings::core::ZSettings;
namespace fs = qf::filesystem;

namespace {

fs::path absolutePath(std::string const& bytes) {
    return fs::absolute(fs::from_native(bytes), fs::path());
}

void setEnvironment(char const* name, std::optional<std::string> const& directory) {
    if (directory) ::setenv(name, absolutePath(*directory).native().c_str(), 1);
}

}  // namespace

Directories::Directories(DirectoryOptions const& options) {
    if (options.hostRoot) qbhost::setInstallPath(absolutePath(*options.hostRoot).str());
    setEnvironment("SETTINGS_FACTORYDIR", options.factory);
    setEnvironment("SETTINGS_USERDIR", options.user);
}

qf::ustring Directories::user() const {
    if (!saves_.empty()) return saves_;
    qf::ustring const set = qf::i18n::getenv("SETTINGS_USERDIR");
    if (!set.empty()) return set;
    qf::ustring const found = settings::core::getPreferencesDirectoryUStr(true);
    if (found.empty()) {
        throw Failure(
            "there is no directory for the user's settings, and none can be made; name one with "
            "--user-dir");
    }
    return found;
}

qf::ustring Directories::factory() const { return ZSettings::getFactoryDir(BlessedZcrID); }

qf::ustring Directories::workgroup() const { return ZSettings::getWorkgroupDir(BlessedZcrID); }

qf::ustring Directories::userFile(std::string const& product) const {
    fs::path const directory(user());
    return (directory / qf::i18n::to_ustring(product + Settings::settingsExtension)).str();
}

std::string Directories::productOfUserFile(qf::ustring const& file) const {
    fs::path const name = fs::path(file).filename();
    std::string const text = qf::i18n::to_string(name.str());
    std::size_t const length =
        text.size() - std::min(text.size(), Settings::settingsExtension.size());
    if (length == 0 || text.substr(length) != Settings::settingsExtension) return {};
    try {
        qf::ustring directory = qf::i18n::getenv("SETTINGS_USERDIR");
        if (directory.empty()) directory = settings::core::getPreferencesDirectoryUStr(false);
        if (directory.empty()) return {};
        bool const isThere = fs::absolute(fs::path(directory) / name, fs::path()).str() == file;
        return isThere ? text.substr(0, length) : std::string();
    } catch (std::exception const&) {
        return {};
    }
}

void Directories::saveIn(qf::ustring const& directory) {
    ZSettings::setSettingsFileLocation(BlessedZcrID, boost::none, boost::none, directory);
    saves_ = directory;
}

std::vector<qf::ustring> Directories::factoryFiles(std::string const& product) const {
    std::vector<qf::ustring> files;
    // The job pool is defined in a folder of another name.
    std::string const folder = product == "gridpool" ? "farmjobs" : product;
    try {
        for (auto const& entry :
             fs::basic_directory_iterator(fs::path(factory()) / qf::i18n::to_ustring(folder))) {
            if (entry.full_pathname().extension() != u".settings") continue;
            if ((entry.status() & fs::file_type_mask) != fs::regular_file) continue;
            files.push_back(entry.full_pathname().str());
        }
    } catch (fs::FsysExceptionBase const&) {
        // A product of the user alone has no folder.
    }
    return files;
}

std::string Directories::definedIn(std::string const& product) const {
    std::vector<qf::ustring> const files = factoryFiles(product);
    if (files.empty()) return pathText(userFile(product));
    if (files.size() == 1) return pathText(files.front());
    return pathText(fs::path(files.front()).parent_path().str());
}

}  // namespace qbsettings
