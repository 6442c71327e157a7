#pragma once

#include <functional>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/UString.hpp>

namespace settings::core {

class SaveSettingsFunctor;
class SettingsImpl;
class SettingsLevel;
class TreeRoot;

/// True for a regular file with the extension ".settings", in exactly this spelling.
struct IsASettingsFile {
    bool operator()(qf::filesystem::upath_directory_entry const& entry) const;
};

/// True for a folder with a legal product name (an ASCII letter, then letters, digits, "_") that
/// holds a settings file. An unreadable folder is none.
struct IsASettingsDirectory {
    bool operator()(qf::filesystem::upath_directory_entry const& entry) const;
};

/// Same for a folder whose settings files lie in its subfolder "settings".
struct IsASettingsDirectoryWithSubDir {
    bool operator()(qf::filesystem::upath_directory_entry const& entry) const;
};

/// Knows where settings files lie, which files and folders count, and how a file is replaced.
///
/// Factory files of a product P: every settings file in the folder P of the factory directory (the
/// product `gridpool` lies in the folder `farmjobs`). User file: P.settings in the user directory.
///
/// A save writes into a temporary folder beside the real file and renames. What is left on disk
/// when a step fails stands with `saveSettings`. The steps go through replaceable functions, so
/// that their failures can be driven from outside; set them before saves run.
class SettingsFile {
public:
    using Path = qf::filesystem::path;
    using RenameFunc = void (*)(Path from, Path to);
    using SaveToFileFunc = void (*)(SettingsLevel const*,
                                    boost::shared_ptr<SettingsImpl const> const&,
                                    SaveSettingsFunctor const&, Path);
    /// Gives the directory of a level for a tree.
    using DirectoryFunc = ustring (*)(SettingsLevel const&, TreeRoot const&);
    /// Why a save ends without an error and without having tried to replace the file.
    enum class GivenUp { noTemporaryFolder, noWritePermission };
    using GivenUpFunc = void (*)(GivenUp, SettingsLevel const*,
                                 boost::shared_ptr<SettingsImpl const> const& product,
                                 Path const& file);

    /// One save, when all is known that it needs.
    struct Save {
        SettingsLevel const* level;
        boost::shared_ptr<SettingsImpl const> product;
        boost::shared_ptr<TreeRoot const> root;
        Path folder;
        Path file;
    };
    /// Carries a save out, or has `replaceFile` do so.
    using SaveFunc = void (*)(Save const&, SaveSettingsFunctor const&);

    static void setRenameTempToRealFunc(RenameFunc function);
    static void setRenameRealToTempFunc(RenameFunc function);
    /// Kept, and never called: the save has no step that restores.
    static void setRenameBackupFileFunc(RenameFunc function);
    static void setSaveToFileFunc(SaveToFileFunc function);
    /// Called when a save gives up. What it throws reaches the caller of the save.
    static void setGivenUpFunc(GivenUpFunc function);
    /// For the library: puts in what makes saves; null is its default.
    static void setSaveFunc(SaveFunc function);
    /// For the library: puts in who knows the directories. Without it there are none.
    static void setDirectoryFunc(DirectoryFunc function);

    /// Directory of the level for a root; empty for a level without files and for a null root.
    static ustring getRootPathForLevel(SettingsLevel const* level,
                                       boost::shared_ptr<TreeRoot const> const& root);
    /// Same for the root that is the parent of the product `obj`.
    static Path getObjFilePathRoot(SettingsLevel const* level,
                                   boost::shared_ptr<SettingsImpl const> const& obj);
    static Path getSettingsFilePathForObj(SettingsLevel const* level,
                                          boost::shared_ptr<SettingsImpl const> const& obj);
    /// The one file of a product at a level that has one for each; empty without a directory.
    static Path userFileOf(std::string const& product, SettingsLevel const* level,
                           boost::shared_ptr<TreeRoot const> const& root);
    /// The user file of a product in that folder.
    static Path userFile(ustring const& folder, std::string const& product);
    /// Settings files of a folder, in the order of the directory; what was found so far if the
    /// folder can't be read to the end.
    static std::vector<Path> getSettingsFileList(Path const& folder);
    /// Names of the products found at one level; empty if the directory can't be read.
    static std::vector<std::string> getSettingsTopLevelNodes(
        SettingsLevel const* level, boost::shared_ptr<TreeRoot const> const& root);
    /// Names of the products of all levels, sorted without regard to case; of spellings that differ
    /// in case alone the factory's stays. For a root that makes its products of them: where the
    /// user's files could not be listed, the tree lacks some, which `UnreadFiles` notes.
    static std::vector<std::string> getSettingsTopLevelNodes(
        boost::shared_ptr<TreeRoot const> const& root);
    /// Files to load for a product at a level, in the order in which they are merged.
    static std::vector<Path> getAllSettingsFileForProduct(
        std::string const& product, SettingsLevel const* level,
        boost::shared_ptr<TreeRoot const> const& root);
    /// @{
    /// For the root of the blessed instance; in roots/SettingsOfRoots.cpp.
    static std::vector<std::string> getSettingsTopLevelNodesForZcrId0Root(
        SettingsLevel const* level);
    static std::vector<Path> getAllSettingsFileForProductForZcrId0Root(std::string const& product,
                                                                       SettingsLevel const* level);
    /// @}
    /// False if the file exists and can't be opened for appending, or is none that could be.
    static bool checkWritePermission(SettingsLevel const* level,
                                     boost::shared_ptr<SettingsImpl const> const& obj);

    /// Saves the product that `obj` belongs to, at one level. Called with the tree held shared.
    ///
    /// | failure                      | real file           | reported                          |
    /// |------------------------------|---------------------|-----------------------------------|
    /// | level without files          | untouched           | no                                |
    /// | level that can't be modified | untouched           | `CantModifyValuesOnReadOnlyLevel` |
    /// | no access to the directory   | untouched           | `NoWritePermissionOnDirectory`    |
    /// | 1000 temporary folders fail  | untouched           | no                                |
    /// | temporary file incomplete    | replaced by it      | no                                |
    /// | existing file not writable   | untouched           | no                                |
    /// | existing file refuses rename | replaced by 2nd try | no                                |
    /// | rename fails 1000 times      | untouched, or gone  | no                                |
    ///
    /// The new file has the permission bits of the old one, if that is possible. The file is gone
    /// if it could be moved out of the way and the next rename failed as well. No temporary folder
    /// stays behind in any of these cases. Durable saves, which `turnOnDurableSaving` turns on,
    /// report all of them but the first and lose nothing.
    static void saveSettings(SettingsLevel const* level, boost::shared_ptr<SettingsImpl> const& obj,
                             SaveSettingsFunctor const& functor);
    /// Brings a temporary file to its place by the current rename, or throws.
    using PlaceFunc = std::function<void(Path const& temporary, RenameFunc rename)>;
    /// The steps of a save in a temporary folder, with `place` as the last one if it is there.
    /// @return false if the file was not replaced
    static bool replaceFile(Save const& save, SaveSettingsFunctor const& functor,
                            PlaceFunc const& place);
    /// The file that a save is about to replace by this temporary one; empty for other paths.
    static Path replacedBy(Path const& temporary);
    /// Gives the temporary file the permission bits of the one that it replaces, if there is one.
    /// To be called before it has any content, so that nobody reads there what the old file kept
    /// from him. @throws FsysExceptionBase
    static void keepPermissions(Path const& temporary);
    /// Writes the file, with the permission bits of the one that it replaces if that is possible; a
    /// failure reports nothing.
    static void saveToFile(SettingsLevel const* level,
                           boost::shared_ptr<SettingsImpl const> const& obj,
                           SaveSettingsFunctor const& functor, Path path);
    static void renameExistingFile(Path from, Path to);
    /// Does nothing.
    static void giveUpInSilence(GivenUp why, SettingsLevel const* level,
                                boost::shared_ptr<SettingsImpl const> const& product,
                                Path const& file);
    /// Removes the product's file from the directory that the level itself names. A missing file is
    /// no error.
    static void deleteSettingsFile(SettingsLevel const* level, std::string const& product);
    /// Parses one file; empty for an empty path. Touches no tree and takes no lock of one.
    static boost::shared_ptr<SettingsImpl> loadSettingsObject(Path const& path);

private:
    static bool isWritable(Path const& file);
};

}  // namespace settings::core
