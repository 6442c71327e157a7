#include <settingscore/prefdir/FirstStart.hpp>

#include <cerrno>
#include <cstddef>
#include <optional>
#include <string>

#include <settingscore/host/EventMgr.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/prefdir/ReleaseMigration.hpp>

namespace fs = qf::filesystem;

namespace settings::core::pathutilinternal {

namespace {

/// How the names begin that this machine gives until it is started anew; empty if it has no name
/// for that time. Of other machines that share the folder nothing is known.
ustring namePrefixNow() {
    char bootId[36];
    std::size_t size = 0;
    try {
        fs::sequential_reader file(u"/proc/sys/kernel/random/boot_id");
        while (std::size_t const count = file.read(bootId + size, sizeof(bootId) - size)) {
            size += count;
        }
    } catch (fs::FsysExceptionBase const&) {
        return {};
    }
    return namePrefixBeside + qf::i18n::to_ustring(std::string(bootId, size)) + u"-";
}

/// Removes what starts left that ended in the midst, which is all that nobody claims.
void removeLeftOvers(fs::path const& parent, ustring const& namePrefix) {
    for (fs::upath_directory_entry const& entry : fs::basic_directory_iterator(parent)) {
        if (entry.filename().rfind(namePrefix, 0) != 0) continue;
        try {
            fs::folder_claim const claim(entry.full_pathname());
            if (claim.is_held()) fs::remove_all(entry.full_pathname());
        } catch (fs::FsysExceptionBase const&) {
            // It counts as nothing, and stays.
        }
    }
}

/// A new folder beside the place, claimed so that nobody takes it for a left-over. Removed at the
/// end of the scope, unless it was put in the place.
class FolderBeside {
public:
    /// @throws errors of the file layer if there can be none
    FolderBeside(fs::path const& parent, ustring const& namePrefix) : FolderBeside() {
        constexpr int attempts = 3;
        for (int attempt = 1; attempt <= attempts; ++attempt) {
            ustring const id =
                qf::i18n::to_ustring(corebus::msg_svc::exchange::IDType().toString());
            fs::path const name((namePrefix.empty() ? namePrefixBeside : namePrefix) + id);
            try {
                fs::create_directories(parent / name);
            } catch (fs::FileExistsError const&) {
                // Another's, as of a process that was forked from this one.
                continue;
            }
            folder_ = parent / name;
            if (isClaimed()) return;
            // Another start found it before it was claimed, and removes it.
            folder_ = {};
        }
        throw fs::FsysExceptionBase("cannot make a folder of one's own in", parent.str(), EBUSY);
    }
    ~FolderBeside() {
        try {
            if (!folder_.empty()) fs::remove_all(folder_);
        } catch (fs::FsysExceptionBase const&) {  // NOLINT(bugprone-empty-catch)
        }
    }
    FolderBeside(FolderBeside const&) = delete;
    FolderBeside& operator=(FolderBeside const&) = delete;

    ustring const& path() const { return folder_.str(); }
    /// False if the place is taken, or can't be reached by a rename.
    bool putInto(fs::path const& place) {
        try {
            fs::rename_to_free_name(folder_, place);
        } catch (fs::FsysExceptionBase const&) {
            return false;
        }
        folder_ = {};
        return true;
    }

private:
    FolderBeside() = default;
    bool isClaimed() {
        try {
            claim_.emplace(folder_);
            return claim_->is_held();
        } catch (fs::FsysExceptionBase const& error) {
            switch (error.errorNumber()) {
                case EMFILE:
                case ENFILE:
                case ENOMEM:
                    throw;
                default:
                    // Nobody else can claim it either, and so nobody removes it.
                    return true;
            }
        }
    }

    fs::path folder_;
    std::optional<fs::folder_claim> claim_;
};

void makeParents(fs::path const& parent) {
    try {
        fs::create_directories(parent);
    } catch (fs::FileExistsError const&) {
        // Another start was faster.
    }
}

/// False if there is nothing to fill, or no way to fill it beside its place, or if another start
/// was first.
bool fillBeside(ustring const& directory) {
    fs::path const place(withoutFinalSeparators(directory));
    fs::path const parent = place.parent_path();
    std::optional<FolderBeside> folder;
    try {
        if (parent.empty() || place.filename().str() == fs::upath_constant::PARENT_DIRECTORY ||
            fs::upath_directory_entry(place).status() != fs::no_file) {
            return false;
        }
        if (!fs::exists(parent)) makeParents(parent);
        ustring const namePrefix = namePrefixNow();
        if (!namePrefix.empty()) removeLeftOvers(parent, namePrefix);
        folder.emplace(parent, namePrefix);
    } catch (fs::FsysExceptionBase const&) {
        return false;
    }
    try {
        fillNewDirectory({folder->path(), directory});
    } catch (...) {
        if (folder->putInto(place)) throw;
        return false;
    }
    return folder->putInto(place);
}

}  // namespace

void makeAndFill(ustring& directory) {
    if (fillBeside(directory)) return;
    int const status = ensure_directory_exists_ustr(directory);
    copyPreferencesFromPreviousPrefdir(true, status, directory);
}

}  // namespace settings::core::pathutilinternal
