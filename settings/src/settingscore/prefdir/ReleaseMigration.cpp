#include <settingscore/prefdir/ReleaseMigration.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iterator>
#include <string>
#include <system_error>

#include <boost/numeric/conversion/cast.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/host/Platform.hpp>
#include <settingscore/prefdir/PreferencesDirectory.hpp>
#include <settingscore/prefdir/Releases.hpp>

namespace fs = qf::filesystem;
namespace messages = ::ZENBAR::settings::core;

namespace settings::core::pathutilinternal {

namespace {

constexpr char const* searchDisablingVariable = "DISABLE_PREFCOPY3RELEASES";

/// A file is left behind if its name contains one of these.
constexpr char16_t namesNotCopied[7][20] = {u"plgopts",          u"trnopts",   u"xbuildopts",
                                            u"addons_cache",     u"zcc.cache", u"quicklinks.xml",
                                            u"quicklinks_ja.xml"};

constexpr unsigned ownersBits = 0700;

enum CopyResult : int { copied = 0, copyFailed = 1, noSource = 2 };

void printMessage(rescat::BaseMsgID const& message) {
    std::string const text = qf::i18n::to_string(
        qf::i18n::MessageCatalog::get_message(message, qf::i18n::qbLocale::global()));
    quPutsn(0, text.data(), boost::numeric_cast<int>(text.size()));
}

ustring join(ustring const& folder, ustring const& name) {
    return (fs::path(folder) / fs::path(name)).str();
}

NewFolder below(NewFolder const& folder, ustring const& name) {
    return {join(folder.place, name), join(folder.finalPlace, name)};
}

bool staysBehind(ustring const& name) {
    return std::any_of(std::begin(namesNotCopied), std::end(namesNotCopied),
                       [&](char16_t const* part) { return name.find(part) != ustring::npos; });
}

/// By identity, not by name: the same folder can be spelled in many ways.
bool isSameFolder(ustring const& a, ustring const& b) {
    std::error_code unknown;
    return std::filesystem::equivalent(fs::path(a).native(), fs::path(b).native(), unknown);
}

/// Whether the folder has the name that the target will have, in any spelling.
bool isFinalPlace(ustring const& folder, NewFolder const& target) {
    fs::path const name(folder);
    fs::path const final(withoutFinalSeparators(target.finalPlace));
    return name.filename() == final.filename() &&
           isSameFolder(name.parent_path().str(), final.parent_path().str());
}

/// What other first starts fill beside the same place at this moment, or left there.
bool isFilledBeside(ustring const& name, ustring const& from, NewFolder const& wholeTarget) {
    return name.rfind(namePrefixBeside, 0) == 0 &&
           isSameFolder(from, fs::path(wholeTarget.place).parent_path().str());
}

/// False if there is one. An error tells of the place that the folder will have.
bool makeFolder(NewFolder const& folder) {
    char const* const operation = "cannot make the folder";
    try {
        if (fs::exists(folder.place)) return false;
        fs::create_directories(folder.place);
        return true;
    } catch (fs::AccessDenied const& error) {
        throw fs::AccessDenied(operation, folder.finalPlace, error.errorNumber());
    } catch (fs::FileExistsError const& error) {
        throw fs::FileExistsError(operation, folder.finalPlace, error.errorNumber());
    } catch (fs::FsysExceptionBase const& error) {
        throw fs::FsysExceptionBase(operation, folder.finalPlace, error.errorNumber());
    }
}

/// Not every file system has permissions: a folder without them is better than no takeover.
template <class Bits>
void trySetPermissions(ustring const& folder, Bits const& bits) {
    try {
        fs::set_permissions(folder, bits());
    } catch (fs::FsysExceptionBase const&) {  // NOLINT(bugprone-empty-catch)
    }
}

bool copyFile(ustring const& file, NewFolder const& toDirectory, bool overwrite) {
    if (file.empty() || toDirectory.place.empty()) return false;
    if (!fs::exists(file)) return true;
    NewFolder const target = below(toDirectory, fs::extract_filename(file));
    try {
        fs::copy_file(file, target.place, fs::copy_option::fail_if_exists);
        return true;
    } catch (...) {
        if (!overwrite) {
            printMessage(messages::ErrorOverwriteFileInPrefDir(target.finalPlace));
            return true;
        }
    }
    try {
        fs::copy_file(file, target.place, fs::copy_option::overwrite_if_exists);
    } catch (std::exception const& error) {
        printMessage(messages::ErrorCopyFileInPrefDir(file, target.finalPlace,
                                                      qf::i18n::to_ustring(error.what())));
    } catch (...) {
        printMessage(messages::ErrorCopyFileInPrefDir(file, target.finalPlace, u"Unknown"));
    }
    return true;
}

/// `wholeTarget` is where the walk as a whole copies to, `to` is the folder below it that takes the
/// content of `from`.
bool copyFolder(ustring const& from, NewFolder const& to, NewFolder const& wholeTarget,
                bool overwrite) {
    for (fs::upath_directory_entry const& entry : fs::basic_directory_iterator(from)) {
        ustring const name = entry.filename();
        if (name == fs::upath_constant::CURRENT_DIRECTORY ||
            name == fs::upath_constant::PARENT_DIRECTORY) {
            continue;
        }
        unsigned const status = entry.status();
        unsigned const kind = status & fs::file_type_mask;
        ustring const source = entry.full_pathname().str();
        if (kind == fs::directory_file) {
            // A link can lead out of the source, or back up into it; a target inside the source
            // would be copied into itself, ever deeper.
            if ((status & fs::symbolic_link) != 0 || isSameFolder(source, wholeTarget.place) ||
                isFilledBeside(name, from, wholeTarget)) {
                continue;
            }
            NewFolder const target = below(to, name);
            bool const isNew = makeFolder(target);
            // Nobody else looks in while it fills; then as open as it was, but never shut to its
            // owner, who needs it.
            if (isNew) trySetPermissions(target.place, [] { return ownersBits; });
            if (!copyFolder(source, target, wholeTarget, overwrite)) return false;
            if (isNew) {
                trySetPermissions(target.place,
                                  [&] { return fs::permissions(source) | ownersBits; });
            }
        } else if (kind != fs::other_file && !staysBehind(name)) {
            if (!copyFile(source, to, overwrite)) return false;
        }
    }
    return true;
}

int copyPrefDir(ustring const& from, NewFolder const& to, bool overwrite) {
    if (from.empty() || from == to.finalPlace) return copied;
    // Where it is filled in its place it is there by now, and the walk sees that it is the same.
    if (to.place != to.finalPlace && isFinalPlace(from, to)) return copied;
    if (!fs::exists(from)) return noSource;
    errno = 0;
    if (!fs::exists(to.place)) {
        int const reason = errno != 0 ? errno : ENOENT;
        messages::throwMessage<messages::PreferenceDirectoryNotExist>(to.finalPlace,
                                                                      std::strerror(reason));
    }
    bool const isDone = isSameFolder(from, to.place) || copyFolder(from, to, to, overwrite);
    return isDone ? copied : copyFailed;
}

/// True if the release had no directory, so that an older one can be tried.
bool copyFromRelease(ustring const& source, char16_t const* label, NewFolder const& directory) {
    int const result = copyPrefDir(source, directory, false);
    if (result == copyFailed) throwPrefMigrationError(label, releases::current);
    return result == noSource;
}

void copyFromNewestRelease(NewFolder const& directory) {
    if (!copyFromRelease(getPreviousPreferencesDirectoryUStr(), releases::previous, directory)) {
        return;
    }
    if (!qf::i18n::getenv(searchDisablingVariable).empty()) return;
    if (!copyFromRelease(getPrefdirFromPreviousTwoReleases(), releases::twoBack, directory)) {
        return;
    }
    copyFromRelease(getPrefdirFromPreviousThreeReleases(), releases::threeBack, directory);
}

}  // namespace

int ensure_directory_exists_ustr(ustring const& path) {
    if (path.empty()) return -1;
    try {
        fs::create_directories(path);
        return 0;
    } catch (fs::FileExistsError const&) {
        return 1;
    } catch (...) {
        return -1;
    }
}

void copyPreferencesFromPreviousPrefdir(bool warnOnEmpty, int const& status, ustring& directory) {
    if (status < 0) {
        quPrintf("Warning: failed to create preference directory %s.\nCheck directory permissions.",
                 qf::i18n::to_string(directory).c_str());
        directory.clear();
        return;
    }
    if (status > 0) {
        if (warnOnEmpty && directory.empty()) {
            quPrintf("Warning: failed to create NULL preference directory. \n");
        }
        return;
    }
    fillNewDirectory({directory, directory});
}

void fillNewDirectory(NewFolder const& directory) {
    copyFromNewestRelease(directory);
    NewFolder const timestamp = below(directory, getTimestampFileNameUStr());
    // The older release's own came with the copy, and could be read-only.
    try {
        if ((fs::status(timestamp.place) & fs::file_type_mask) == fs::regular_file) {
            fs::remove(timestamp.place);
        }
    } catch (fs::FsysExceptionBase const&) {
        // What is in the way is reported below.
    }
    std::FILE* const file = fs::fopen(timestamp.place, "w");
    if (!file) {
        messages::throwMessage<messages::ErrorCreatePreferenceDirectoryTimeStamp>(
            timestamp.finalPlace, std::strerror(errno));
    }
    std::fclose(file);
}

void copyFromPreviousRelease(ustring const& directory) {
    copyFromNewestRelease({directory, directory});
}

int copyPrefDir_ustr(ustring const& from, ustring const& to, bool overwrite) {
    return copyPrefDir(from, {to, to}, overwrite);
}

bool copyDirectoryTree(ustring const& from, ustring const& to, bool overwrite) {
    return isSameFolder(from, to) || copyFolder(from, {to, to}, {to, to}, overwrite);
}

bool copyFile_ustr(ustring const& file, ustring const& toDirectory, bool overwrite) {
    return copyFile(file, {toDirectory, toDirectory}, overwrite);
}

ustring withoutFinalSeparators(ustring path) {
    while (path.size() > 1 &&
           (path.back() == u'/' || path.compare(path.size() - 2, 2, u"/.") == 0)) {
        path.pop_back();
    }
    return path;
}

void throwPrefMigrationError(ustring const& previous, ustring const& current) {
    messages::throwMessage<messages::ErrorMigratePrefsBetweenReleases>(previous, current);
}

}  // namespace settings::core::pathutilinternal
