#include <settingscore/persistence/DurableSaving.hpp>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <optional>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/levels/SettingsLevel.hpp>
#include <settingscore/persistence/DurableSteps.hpp>
#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/persistence/UnreadFiles.hpp>
#include <settingscore/persistence/writer/FileContent.hpp>
#include <settingscore/persistence/writer/SaveSettingsFunctor.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

namespace fs = qf::filesystem;
using Node = boost::shared_ptr<SettingsImpl const>;

namespace {

[[noreturn]] void fail(Node const& node, fs::path const& file, int errorNumber,
                       std::string const& reason) {
    throw exception::ErrorWriteToTempSettingsFile(node, file.str(), errorNumber,
                                                  qf::i18n::to_ustring(reason));
}

/// Runs a step; what the file layer throws becomes the error that callers of a save know.
template <class Step>
auto telling(Node const& node, fs::path const& file, Step const& step) {
    try {
        return step();
    } catch (fs::FsysExceptionBase const& error) {
        fail(node, file, error.errorNumber(), error.reason());
    }
}

// --- A file that the load could not read for a passing reason ---------------------------------

/// What the tree lacks of the file would be lost by the save, and the file may be as good as ever:
/// it is read once more, for its own sake.
void refuseIfUnreadable(Node const& product, fs::path const& file) {
    auto const root = product->getParentImpl();
    auto const atLoad = UnreadFiles::unreadableFor(root, file);
    // Without a file there is nothing to lose.
    if (!atLoad || !telling(product, file, [&] { return fs::exists(file); })) return;
    std::optional<UnreadFiles::Passing> now;
    try {
        SettingsFile::loadSettingsObject(file);
    } catch (std::exception const& error) {
        now = UnreadFiles::passing(error, file);
        UnreadFiles::setUnread(root, file, now);
        if (!now) return;
    }
    std::string const why = now ? "it cannot be read at this time, and is not replaced unread: "
                                : "it can be read now, but its values are not in this tree, which "
                                  "has to be loaded anew by a new root; at its load: ";
    UnreadFiles::Passing const& reason = now ? *now : *atLoad;
    fail(product, file, reason.errorNumber, why + qf::i18n::to_string(reason.reason));
}

// --- The temporary file -----------------------------------------------------------------------

void writeWhole(SettingsLevel const* level, Node const& product, SaveSettingsFunctor const& functor,
                fs::path temporary) {
    fs::path const real = SettingsFile::replacedBy(temporary);
    refuseIfUnreadable(product, real);
    if (UnwritableContent const found = findUnwritable(functor, product, level->levelName())) {
        fail(found.node, real, EILSEQ, found.reason);
    }
    telling(product, real, [&] {
        fs::basic_ofstream stream(temporary);
        if (stream) SettingsFile::keepPermissions(temporary);
        functor(product, stream, level->levelName());
        stream.sync_to_disk_on_close();
        stream.close();
        if (stream) return;
        int const error = stream.error() != 0 ? stream.error() : EIO;
        throw fs::FsysExceptionBase("cannot write", temporary.str(), error);
    });
}

// --- The rename -------------------------------------------------------------------------------

/// Brings the folder's new entry to the disk. The first file of a folder may stand in folders that
/// the save had to make, whose entries count as well; what the user may not open was there before.
void syncFolders(fs::path folder, bool fileIsNew) {
    fs::sync_directory(folder);
    while (fileIsNew && folder != folder.parent_path() && !folder.parent_path().empty()) {
        folder = folder.parent_path();
        try {
            fs::sync_directory(folder);
        } catch (fs::AccessDenied const&) {  // NOLINT(bugprone-empty-catch)
        }
    }
}

/// Other than the default's, its failure is none of the file layer, so that the save does not try
/// again with the old file out of the way, where nothing would bring it back.
void renameDurably(fs::path temporary, fs::path real) {
    telling({}, real, [&] {
        fs::path const folder = real.parent_path();
        bool const isNew = !fs::exists(real);
        fs::path aside;
        try {
            if (!isNew && UnreadFiles::isDefective(real)) {
                aside = keepAside(real);
                // On the disk before the content has lost its own name.
                fs::sync_directory(folder);
            }
            fs::rename(temporary, real);
        } catch (fs::FsysExceptionBase const&) {
            try {
                if (!aside.empty()) fs::remove(aside);
            } catch (fs::FsysExceptionBase const&) {
                // The first failure is the one to report.
            }
            throw;
        }
        syncFolders(folder, isNew);
    });
}

// --- What the default says nothing about ------------------------------------------------------

void tellGivenUp(SettingsFile::GivenUp why, SettingsLevel const* level,
                 boost::shared_ptr<SettingsImpl const> const& product, fs::path const& file) {
    if (why == SettingsFile::GivenUp::noTemporaryFolder) {
        fail(product, file, EEXIST, "no temporary folder could be made beside it");
    }
    // Opened, to learn the reason, if that cannot wait for somebody.
    unsigned const kind = fs::status(file) & fs::file_type_mask;
    int error = kind == fs::directory_file ? EISDIR : EINVAL;
    if (kind == fs::regular_file) {
        std::FILE* const opened = fs::fopen(file, "a");
        error = opened ? EACCES : errno;
        if (opened) std::fclose(opened);
    }
    throw exception::NoFileWritePermission(
        boost::const_pointer_cast<SettingsImpl>(product), *level, file.str(),
        qf::i18n::to_ustring(fs::FsysExceptionBase("cannot write", file.str(), error).reason()),
        ustring(), level->levelName());
}

std::atomic<bool> isOn{false};

}  // namespace

fs::path keepAside(fs::path const& file) {
    for (unsigned number = 1;; ++number) {
        std::string const suffix =
            number == 1 ? ".rejected" : ".rejected." + std::to_string(number);
        fs::path const aside(file.str() + qf::i18n::to_ustring(suffix));
        try {
            fs::link_or_copy(file, aside);
            return aside;
        } catch (fs::FileExistsError const&) {
            // A file that was kept before stays: the next number is tried.
        }
    }
}

bool isDurableSavingOn() { return isOn; }

void turnOnDurableSaving() {
    isOn = true;
    SettingsFile::setSaveToFileFunc(&writeWhole);
    SettingsFile::setRenameTempToRealFunc(&renameDurably);
    SettingsFile::setGivenUpFunc(&tellGivenUp);
}

void turnOffDurableSaving() {
    isOn = false;
    SettingsFile::setSaveToFileFunc(&SettingsFile::saveToFile);
    SettingsFile::setRenameTempToRealFunc(&SettingsFile::renameExistingFile);
    SettingsFile::setGivenUpFunc(&SettingsFile::giveUpInSilence);
}

}  // namespace settings::core
