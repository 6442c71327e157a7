#include <qbsettings/Context.hpp>

#include <algorithm>
#include <cstdlib>

#include <sys/auxv.h>

#include <qbhost/QbHost.hpp>
#include <qbsettings/Failure.hpp>
#include <qbsettings/Text.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/persistence/DurableSaving.hpp>
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

std::vector<std::string> const& levelNames() {
    static std::vector<std::string> const names = {"session", "user", "factory"};
    return names;
}

Context::Context(Places const& places) {
    bool const hasPlaces = places.hostRoot || places.factoryDirectory || places.userDirectory;
    if (hasPlaces && ::getauxval(AT_SECURE) != 0) {
        throw Failure("with more rights than its caller's, the program takes no folders from him");
    }
    if (places.hostRoot) qbhost::setInstallPath(absolutePath(*places.hostRoot).str());
    setEnvironment("SETTINGS_FACTORYDIR", places.factoryDirectory);
    setEnvironment("SETTINGS_USERDIR", places.userDirectory);
    // Standard output is for data alone.
    qbhost::setConsole(&complainInPieces, &complainInPieces);
    settings::core::turnOnDurableSaving();
}

SettingsPtr Context::root() {
    if (!root_) {
        // Asked for first: inside the library its absence would end the process.
        userDirectory();
        root_ = Settings::getSettingsRoot(BlessedZcrID);
        if (!root_) throw Failure("there is no settings tree");
    }
    return root_;
}

qf::ustring Context::userDirectory() {
    if (!savesDirectory_.empty()) return savesDirectory_;
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

qf::ustring Context::userFile(std::string const& product) {
    fs::path const directory(userDirectory());
    return (directory / qf::i18n::to_ustring(product + Settings::settingsExtension)).str();
}

std::string Context::productOfUserFile(qf::ustring const& file) {
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

void Context::saveIn(qf::ustring const& directory) {
    root();
    ZSettings::setSettingsFileLocation(BlessedZcrID, boost::none, boost::none, directory);
    savesDirectory_ = directory;
}

std::vector<qf::ustring> Context::factoryFiles(std::string const& product) {
    std::vector<qf::ustring> files;
    root();
    fs::path const factory(ZSettings::getFactoryDir(BlessedZcrID));
    // The job pool is defined in a folder of another name.
    std::string const folder = product == "gridpool" ? "farmjobs" : product;
    try {
        for (auto const& entry :
             fs::basic_directory_iterator(factory / qf::i18n::to_ustring(folder))) {
            if (entry.full_pathname().extension() != u".settings") continue;
            if ((entry.status() & fs::file_type_mask) != fs::regular_file) continue;
            files.push_back(entry.full_pathname().str());
        }
    } catch (fs::FsysExceptionBase const&) {
        // A product of the user alone has no folder.
    }
    return files;
}

std::string Context::definedIn(std::string const& product) {
    std::vector<qf::ustring> const files = factoryFiles(product);
    if (files.empty()) return pathText(userFile(product));
    if (files.size() == 1) return pathText(files.front());
    return pathText(fs::path(files.front()).parent_path().str());
}

void Context::lockForWriting() {
    if (!lock_) lock_ = std::make_unique<WriteLock>(userDirectory());
}

void Context::keepFaults(settings::core::exception::ErrorReadingSettingsData const& error) {
    for (Fault const& fault : faultsOfLoad(error.getDetailErrorMsg())) {
        if (!quiet_) complain(fault.toText());
        faults_.push_back(fault);
    }
}

bool Context::isUserFileFaulty(std::string const& product) {
    qf::ustring const file = userFile(product);
    return std::any_of(faults_.begin(), faults_.end(),
                       [&](Fault const& fault) { return fault.file == file; });
}

void Context::warnOfUnreadable(std::string const& product) {
    if (!isUserFileFaulty(product) || !warnedOf_.insert(product).second) return;
    complain(pathText(userFile(product)) +
             " could not be read; a save keeps it aside, with .rejected behind its name, and what "
             "it held is no longer in force");
}

void Context::refuseToRemoveUnreadable(std::string const& product) {
    if (!isUserFileFaulty(product)) return;
    throw Failure(product + " was not removed, since that would delete " +
                  pathText(userFile(product)) +
                  ", which could not be read; mend or move that file");
}

}  // namespace qbsettings
