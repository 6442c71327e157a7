// Where settings files lie, and which files and folders count.

#include <settingscore/persistence/SettingsFile.hpp>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <optional>
#include <set>
#include <utility>

#include <settingscore/host/I18n.hpp>
#include <settingscore/levels/SettingsLevel.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/persistence/UnreadFiles.hpp>
#include <settingscore/persistence/shared/SharedSaves.hpp>
#include <settingscore/persistence/xml/SettingsXMLReader.hpp>
#include <settingscore/tree/FileWords.hpp>
#include <settingscore/tree/TreeRoot.hpp>
#include <settingscore/value/AsciiCase.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core {

namespace fs = qf::filesystem;
using Root = boost::shared_ptr<TreeRoot const>;

namespace {

constexpr char const* poolProduct = "gridpool";
constexpr char const* poolFolder = "farmjobs";

ustring const& extension() {
    static auto const& text =
        detail::neverDestroyed<ustring>(qf::i18n::to_ustring(detail::settingsExtension));
    return text;
}

std::atomic<SettingsFile::DirectoryFunc> directoryFunc{nullptr};

bool isAsciiLetter(char16_t c) { return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z'); }

bool isLegalProductName(ustring const& name) {
    return !name.empty() && isAsciiLetter(name.front()) &&
           std::all_of(name.begin(), name.end(), [](char16_t c) {
               return isAsciiLetter(c) || (c >= u'0' && c <= u'9') || c == u'_';
           });
}

bool holdsSettingsFile(fs::path const& folder) {
    try {
        for (fs::upath_directory_entry const& entry : fs::basic_directory_iterator(folder)) {
            if (IsASettingsFile()(entry)) return true;
        }
        return false;
    } catch (fs::FsysExceptionBase const&) {
        return false;
    }
}

bool isSettingsFile(fs::upath_directory_entry const& entry) {
    return entry.full_pathname().extension() == extension() &&
           (entry.status() & fs::file_type_mask) == fs::regular_file;
}

/// The node that a file or folder stands for: its name up to the last ".".
std::string nodeName(fs::upath_directory_entry const& entry) {
    ustring const fileName = entry.filename();
    std::string name = qf::i18n::to_string(fileName.substr(0, fileName.rfind(u'.')));
    return name == poolFolder ? poolProduct : name;
}

/// Names of the products found in a folder, and why there may be more of them.
struct Listing {
    Listing(SettingsLevel const& level, fs::path const& folder) {
        try {
            for (fs::upath_directory_entry const& entry : fs::basic_directory_iterator(folder))
                look(level, entry);
        } catch (fs::FsysExceptionBase const& error) {
            bool const isThere = error.errorNumber() != ENOENT && error.errorNumber() != ENOTDIR;
            if (isThere) failure = error;
        }
    }

    std::vector<std::string> names;
    std::optional<fs::FsysExceptionBase> failure;

private:
    void look(SettingsLevel const& level, fs::upath_directory_entry const& entry) {
        try {
            bool const counts =
                level.isFactoryLevel() ? IsASettingsDirectory()(entry) : isSettingsFile(entry);
            if (counts) names.push_back(nodeName(entry));
        } catch (fs::FsysExceptionBase const& error) {
            failure = error;
        }
    }
};

}  // namespace

bool IsASettingsFile::operator()(fs::upath_directory_entry const& entry) const {
    try {
        return isSettingsFile(entry);
    } catch (fs::FsysExceptionBase const&) {
        return false;
    }
}

bool IsASettingsDirectory::operator()(fs::upath_directory_entry const& entry) const {
    return isLegalProductName(entry.filename()) && holdsSettingsFile(entry.full_pathname());
}

bool IsASettingsDirectoryWithSubDir::operator()(fs::upath_directory_entry const& entry) const {
    return isLegalProductName(entry.filename()) &&
           holdsSettingsFile(entry.full_pathname() / fs::path(u"settings"));
}

// --- Places ---------------------------------------------------------------------------------

void SettingsFile::setDirectoryFunc(DirectoryFunc function) { directoryFunc = function; }

ustring SettingsFile::getRootPathForLevel(SettingsLevel const* level, Root const& root) {
    DirectoryFunc const directoryOf = directoryFunc;
    return root && directoryOf ? directoryOf(*level, *root) : ustring();
}

fs::path SettingsFile::userFile(ustring const& folder, std::string const& product) {
    return fs::path(folder) / fs::path(qf::i18n::to_ustring(product + detail::settingsExtension));
}

fs::path SettingsFile::getObjFilePathRoot(SettingsLevel const* level,
                                          boost::shared_ptr<SettingsImpl const> const& obj) {
    return getRootPathForLevel(level,
                               boost::dynamic_pointer_cast<TreeRoot const>(obj->getParent()));
}

fs::path SettingsFile::getSettingsFilePathForObj(SettingsLevel const* level,
                                                 boost::shared_ptr<SettingsImpl const> const& obj) {
    return userFile(getObjFilePathRoot(level, obj).str(), obj->getName());
}

fs::path SettingsFile::userFileOf(std::string const& product, SettingsLevel const* level,
                                  Root const& root) {
    ustring const folder = getRootPathForLevel(level, root);
    return folder.empty() ? fs::path() : userFile(folder, product);
}

// --- Lists ----------------------------------------------------------------------------------

std::vector<fs::path> SettingsFile::getSettingsFileList(fs::path const& folder) {
    std::vector<fs::path> files;
    try {
        for (fs::upath_directory_entry const& entry : fs::basic_directory_iterator(folder)) {
            if (IsASettingsFile()(entry)) files.push_back(entry.full_pathname());
        }
    } catch (fs::FsysExceptionBase const&) {
        // A missing or unreadable folder has no files.
    }
    return files;
}

std::vector<std::string> SettingsFile::getSettingsTopLevelNodes(SettingsLevel const* level,
                                                                Root const& root) {
    return Listing(*level, getRootPathForLevel(level, root)).names;
}

std::vector<std::string> SettingsFile::getSettingsTopLevelNodes(Root const& root) {
    std::set<std::string, detail::LessWithoutCase> names;
    auto const& levels = SettingsLevelManager::levels();
    for (auto level = levels.rbegin(); level != levels.rend(); ++level) {
        if (!level->canHaveFile()) continue;
        // The first to ask for the user directory can have it made and filled from an older
        // release; what fails there goes out.
        fs::path const folder = getRootPathForLevel(&*level, root);
        Listing const listing(*level, folder);
        // A folder tells its entries in order, so that most names are the last so far.
        for (std::string const& name : listing.names)
            names.insert(names.end(), name);
        if (listing.failure && level->canBeModified()) {
            UnreadFiles::setUnlisted(
                root, folder,
                {listing.failure->errorNumber(), qf::i18n::to_ustring(listing.failure->what())});
        }
    }
    return {names.begin(), names.end()};
}

std::vector<fs::path> SettingsFile::getAllSettingsFileForProduct(std::string const& product,
                                                                 SettingsLevel const* level,
                                                                 Root const& root) {
    ustring const rootPath = getRootPathForLevel(level, root);
    // Without a directory there are no files; least of all those of the working directory.
    if (rootPath.empty()) return {};
    if (level->isFactoryLevel()) {
        std::string const folder = product == poolProduct ? poolFolder : product;
        return getSettingsFileList(fs::path(rootPath) / fs::path(qf::i18n::to_ustring(folder)));
    }
    fs::path const file = userFile(rootPath, product);
    if (!fs::exists(file)) return {};
    return {file};
}

boost::shared_ptr<SettingsImpl> SettingsFile::loadSettingsObject(fs::path const& path) {
    if (path.empty()) return {};
    return SettingsXMLReader::getParsedSettings(path.str());
}

void SettingsFile::deleteSettingsFile(SettingsLevel const* level, std::string const& product) {
    ustring const rootPath = level->levelRootPath();
    if (rootPath.empty()) return;
    fs::path const file = userFile(rootPath, product);
    if (SharedSaves::areOn()) return SharedSaves::remove(file);
    fs::remove(file);
}

}  // namespace settings::core
