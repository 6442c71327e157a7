#include <qbsettings/store/Directories.hpp>

#include <algorithm>
#include <cstdlib>

#include <sys/auxv.h>
#include <boost/none.hpp>
#include <qbhost/QbHost.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/prefdir/PreferencesDirectory.hpp>
#include <settingscore/tree/ZSettings.hpp>
#include <settingscore/value/AsciiCase.hpp>

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

constexpr char16_t const* extension = u".settings";

// The job pool is defined in a folder of another name.
constexpr char const* poolProduct = "gridpool";
constexpr char const* poolFolder = "farmjobs";

/// Paths of the entries of that kind; none of a folder that cannot be listed.
std::vector<qf::ustring> entriesOf(qf::ustring const& folder, fs::file_status kind) {
    std::vector<qf::ustring> paths;
    try {
        for (auto const& entry : fs::basic_directory_iterator(folder)) {
            if ((entry.status() & fs::file_type_mask) == kind)
                paths.push_back(entry.full_pathname().str());
        }
    } catch (fs::FsysExceptionBase const&) {  // NOLINT(bugprone-empty-catch)
    }
    return paths;
}

}  // namespace

Directories::Directories(DirectoryOptions const& options) {
    bool const isAny = options.hostRoot || options.factory || options.user;
    if (isAny && ::getauxval(AT_SECURE) != 0) {
        throw Failure("with more rights than its caller's, the program takes no folders from him");
    }
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
            "there is no directory for the user's settings, and none can be created; name one with "
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

std::string Directories::productOfFile(qf::ustring const& file) const {
    std::string const product = productOfUserFile(file);
    if (!product.empty() || file.empty()) return product;
    fs::path const folder = fs::path(file).parent_path();
    qf::ustring const all = factory();
    bool const isThere = !all.empty() && folder.parent_path() == fs::absolute(all, fs::path());
    return isThere ? productOfFactoryFolder(folder.str()) : std::string();
}

void Directories::saveIn(qf::ustring const& directory) {
    ZSettings::setSettingsFileLocation(BlessedZcrID, boost::none, boost::none, directory);
    saves_ = directory;
}

qf::ustring Directories::factoryFolder(std::string const& product) const {
    std::string const folder = product == poolProduct ? poolFolder : product;
    return (fs::path(factory()) / qf::i18n::to_ustring(folder)).str();
}

std::vector<qf::ustring> Directories::factoryFolders() const {
    return entriesOf(factory(), fs::directory_file);
}

std::string Directories::productOfFactoryFolder(qf::ustring const& folder) {
    std::string const name = pathText(fs::path(folder).filename().str());
    return name == poolFolder ? poolProduct : name;
}

std::vector<qf::ustring> Directories::factoryFiles(std::string const& product) const {
    std::vector<qf::ustring> files = filesIn(factoryFolder(product));
    files.erase(std::remove_if(files.begin(), files.end(),
                               [](fs::path const& file) { return file.extension() != extension; }),
                files.end());
    return files;
}

std::string Directories::hidingProduct(qf::ustring const& folder,
                                       std::set<std::string> const& products) const {
    using settings::core::detail::foldedAscii;
    std::string const name = productOfFactoryFolder(folder);
    if (products.count(name) != 0 || factoryFiles(name).empty()) return {};
    auto const other = std::find_if(
        products.begin(), products.end(),
        [&](std::string const& product) { return foldedAscii(product) == foldedAscii(name); });
    return other == products.end() ? std::string() : *other;
}

std::vector<std::string> Directories::foldersIn(qf::ustring const& folder) {
    std::vector<std::string> names;
    for (fs::path const path : entriesOf(folder, fs::directory_file))
        names.push_back(pathText(path.filename().str()));
    return names;
}

std::vector<qf::ustring> Directories::filesIn(qf::ustring const& folder) {
    return entriesOf(folder, fs::regular_file);
}

std::string Directories::definedIn(std::string const& product) const {
    std::vector<qf::ustring> const files = factoryFiles(product);
    if (files.empty()) return pathText(userFile(product));
    if (files.size() == 1) return pathText(files.front());
    return pathText(fs::path(files.front()).parent_path().str());
}

}  // namespace qbsettings
