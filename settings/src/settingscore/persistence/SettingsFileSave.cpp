// How a settings file is replaced.

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string_view>

#include <boost/date_time/posix_time/posix_time_duration.hpp>
#include <boost/thread/thread.hpp>
#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/host/EventMgr.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/host/Log.hpp>
#include <settingscore/host/ScopeGuard.hpp>
#include <settingscore/levels/SettingsLevel.hpp>
#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/persistence/UnreadFiles.hpp>
#include <settingscore/persistence/shared/LeftOvers.hpp>
#include <settingscore/persistence/shared/SharedSaves.hpp>
#include <settingscore/persistence/writer/SaveSettingsFunctor.hpp>
#include <settingscore/tree/FileWords.hpp>
#include <settingscore/tree/NodeView.hpp>
#include <settingscore/tree/TreeRoot.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core {

namespace fs = qf::filesystem;
namespace msg = ZENBAR::settings::core;

namespace {

constexpr std::u16string_view temporaryExtension = u".tmp";
constexpr int attempts = 1000;
constexpr int attemptsBetweenSleeps = 333;

std::atomic<SettingsFile::RenameFunc> renameTempToRealFunc_{&SettingsFile::renameExistingFile};
std::atomic<SettingsFile::RenameFunc> renameRealToTempFunc_{&SettingsFile::renameExistingFile};
std::atomic<SettingsFile::RenameFunc> renameTempRealBackUpToRealFunc_{
    &SettingsFile::renameExistingFile};
std::atomic<SettingsFile::SaveToFileFunc> saveToFileFunc_{&SettingsFile::saveToFile};
std::atomic<SettingsFile::SaveFunc> saveFunc_{nullptr};
std::atomic<SettingsFile::GivenUpFunc> givenUpFunc_{&SettingsFile::giveUpInSilence};

void logSave(std::string const& product, std::string const& level) {
    static auto const& logger =
        detail::neverDestroyed<qf::log::basic_diagnostic_logger<char>>("settings::core");
    constexpr int severity = 1;
    if (logger.is_enabled(severity)) {
        logger.record(severity, "SaveObj : " + product + " Level : " + level);
    }
}

bool existsForSure(fs::path const& path) {
    try {
        return fs::exists(path);
    } catch (fs::FsysExceptionBase const&) {
        return false;
    }
}

bool isGone(fs::path const& path) {
    try {
        return !fs::exists(path);
    } catch (fs::FsysExceptionBase const&) {
        return false;
    }
}

/// The folder in which one save works, and the files in it. All that its removal needs is there
/// before the folder is.
struct WorkFolder {
    WorkFolder(fs::path const& parent, ustring const& fileName)
        : path(parent /
               (u"temp" + qf::i18n::to_ustring(corebus::msg_svc::exchange::IDType().toString()))),
          temporary(path / (fileName + ustring(temporaryExtension))),
          previous(path / (fileName + u".previous")) {}

    void remove() const {
        // File by file first: that needs no descriptor, of which there may be none left.
        fs::path const mark = path / fs::path(LeftOvers::markName);
        for (fs::path const* const file : {&temporary, &previous, &mark, &path}) {
            try {
                fs::remove(*file);
            } catch (fs::FsysExceptionBase const&) {
                // The next attempt takes the folder as a whole.
            }
        }
        if (fs::exists(path)) fs::remove_all(path);
    }

    fs::path const path;
    /// The file that is written.
    fs::path const temporary;
    /// Where the real file can be moved out of the way.
    fs::path const previous;
};

/// Nobody opens a file in it while that has more permissions than the one that it replaces. A file
/// system without permissions has nothing to hide either.
void closeToOthers(fs::path const& folder) {
    constexpr unsigned ownerOnly = 0700;
    try {
        fs::set_permissions(folder, ownerOnly);
    } catch (fs::FsysExceptionBase const&) {  // NOLINT(bugprone-empty-catch)
    }
}

/// Does the work in a new folder, which is gone afterwards, whatever happens.
/// @throws NoWritePermissionOnDirectory, CanNotCreateTempDirectory, errors of the file layer
template <class Work>
void inWorkFolder(fs::path const& parent, ustring const& fileName, Work const& work) {
    for (int attempt = 1; attempt <= attempts; ++attempt) {
        WorkFolder const folder(parent, fileName);
        bool isMade = false;
        qf::util::scope_guard const cleanUp([&] {
            if (isMade) folder.remove();
        });
        try {
            fs::create_directories(folder.path);
            isMade = true;
            if (!fs::exists(folder.path)) continue;
            closeToOthers(folder.path);
            if (SharedSaves::areOn()) LeftOvers::mark(folder.path);
        } catch (fs::FileExistsError const&) {
            continue;  // Somebody else's folder: another name is tried.
        } catch (fs::AccessDenied const& denied) {
            if (existsForSure(folder.path)) continue;
            msg::throwMessage<msg::NoWritePermissionOnDirectory>(folder.path.str(),
                                                                 denied.reason().c_str());
        }
        return work(folder);
    }
    msg::throwMessage<msg::CanNotCreateTempDirectory>(parent.str());
}

/// False if the real file could not be replaced.
bool replaceRealFile(WorkFolder const& folder, fs::path const& realPath) {
    for (int attempt = 1;; ++attempt) {
        try {
            renameTempToRealFunc_.load()(folder.temporary, realPath);
            return true;
        } catch (fs::FsysExceptionBase const&) {
            try {
                renameRealToTempFunc_.load()(realPath, folder.previous);
            } catch (fs::FsysExceptionBase const&) {
                // Perhaps there was no real file: the next attempt will tell.
            }
        }
        if (attempt % attemptsBetweenSleeps == 0) {
            std::srand(static_cast<unsigned int>(std::time(nullptr)));
            // Can be interrupted; by Boost's other clock, which costs a program no library more.
            boost::this_thread::sleep(
                boost::posix_time::milliseconds(1000 + std::rand() % 1000 + 1));
        } else if (attempt == attempts) {
            return false;
        }
    }
}

}  // namespace

void SettingsFile::setRenameTempToRealFunc(RenameFunc function) {
    renameTempToRealFunc_ = function;
}
void SettingsFile::setRenameRealToTempFunc(RenameFunc function) {
    renameRealToTempFunc_ = function;
}
void SettingsFile::setRenameBackupFileFunc(RenameFunc function) {
    renameTempRealBackUpToRealFunc_ = function;
}
void SettingsFile::setSaveToFileFunc(SaveToFileFunc function) { saveToFileFunc_ = function; }
void SettingsFile::setGivenUpFunc(GivenUpFunc function) { givenUpFunc_ = function; }
void SettingsFile::setSaveFunc(SaveFunc function) { saveFunc_ = function; }

// The replaceable steps take their paths by value, the library's own among them.
// NOLINTBEGIN(performance-unnecessary-value-param)

void SettingsFile::renameExistingFile(Path from, Path to) { fs::rename(from, to); }

void SettingsFile::giveUpInSilence(GivenUp, SettingsLevel const*,
                                   boost::shared_ptr<SettingsImpl const> const&, Path const&) {}

void SettingsFile::saveSettings(SettingsLevel const* level,
                                boost::shared_ptr<SettingsImpl> const& obj,
                                SaveSettingsFunctor const& functor) {
    if (!level->canHaveFile()) return;
    if (!level->canBeModified()) {
        throw exception::CantModifyValuesOnReadOnlyLevel(obj, level->levelName());
    }
    if (!obj) return;
    auto const top = detail::NodeView(*obj, functor.lock()).topLevel();
    std::string const name = top->getName();
    logSave(name, level->levelName());
    // The files belong to the root that the instance hands out; one that it has let go, or one
    // without directories, saves nothing.
    auto const root = boost::dynamic_pointer_cast<TreeRoot const>(top->getParentImpl());
    if (!root || !root->isInUse()) return;
    // Asked for once: the instance's directories can change while the save runs.
    Path const rootPath = getRootPathForLevel(level, root);
    if (rootPath.empty()) return;
    Save const save{level, top, root, rootPath, userFile(rootPath.str(), name)};
    if (SaveFunc const function = saveFunc_) return function(save, functor);
    replaceFile(save, functor, {});
}

bool SettingsFile::replaceFile(Save const& save, SaveSettingsFunctor const& functor,
                               PlaceFunc const& place) {
    bool isReplaced = false;
    try {
        inWorkFolder(save.folder, save.file.filename().str(), [&](WorkFolder const& folder) {
            saveToFileFunc_.load()(save.level, save.product, functor, folder.temporary);
            if (!isWritable(save.file)) {
                givenUpFunc_.load()(GivenUp::noWritePermission, save.level, save.product,
                                    save.file);
                return;
            }
            bool const isWritten = !isGone(folder.temporary);
            try {
                if (place) place(folder.temporary, renameTempToRealFunc_);
                isReplaced = place || replaceRealFile(folder, save.file);
                if (isReplaced) UnreadFiles::replaced(save.root, save.file);
            } catch (...) {
                // What failed behind the rename leaves our own file in place.
                if (isWritten && isGone(folder.temporary))
                    UnreadFiles::replaced(save.root, save.file);
                throw;
            }
        });
    } catch (qf::except::Exception<msg::CanNotCreateTempDirectory, std::exception, void> const&) {
        // Without a temporary folder the save ends, the file unchanged.
        givenUpFunc_.load()(GivenUp::noTemporaryFolder, save.level, save.product, save.file);
    }
    return isReplaced;
}

fs::path SettingsFile::replacedBy(Path const& temporary) {
    ustring const name = temporary.filename().str();
    if (temporary.extension() != temporaryExtension) return {};
    // The temporary folder stands beside the file.
    return temporary.parent_path().parent_path() /
           Path(name.substr(0, name.size() - temporaryExtension.size()));
}

void SettingsFile::keepPermissions(Path const& temporary) {
    Path const real = replacedBy(temporary);
    if (real.empty() || !fs::exists(real)) return;
    unsigned const bits = fs::permissions(real);
    if (bits != fs::permissions(temporary)) fs::set_permissions(temporary, bits);
}

void SettingsFile::saveToFile(SettingsLevel const* level,
                              boost::shared_ptr<SettingsImpl const> const& obj,
                              SaveSettingsFunctor const& functor, Path path) {
    fs::basic_ofstream stream(path);
    try {
        keepPermissions(path);
    } catch (fs::FsysExceptionBase const&) {
        // The content counts for more.
    }
    functor(obj, stream, level->levelName());
    stream.close();  // A failure stays in the stream's state, which nobody looks at.
}

// NOLINTEND(performance-unnecessary-value-param)

bool SettingsFile::checkWritePermission(SettingsLevel const* level,
                                        boost::shared_ptr<SettingsImpl const> const& obj) {
    return isWritable(getSettingsFilePathForObj(level, obj));
}

bool SettingsFile::isWritable(Path const& file) {
    unsigned const kind = fs::status(file) & fs::file_type_mask;
    if (kind == fs::no_file) return true;
    // Opening a pipe would wait for a reader.
    if (kind != fs::regular_file) return false;
    std::FILE* const opened = fs::fopen(file, "a");
    if (!opened) return false;
    std::fclose(opened);
    return true;
}

}  // namespace settings::core
