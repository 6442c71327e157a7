#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include <settingscore/host/UString.hpp>

namespace qbsettings {

/// Directories that the command line puts before the library's own rules.
struct DirectoryOptions {
    std::optional<std::string> hostRoot;
    std::optional<std::string> factory;
    std::optional<std::string> user;
};

/// Where the settings files are.
class Directories {
public:
    explicit Directories(DirectoryOptions const& options);

    /// Directory of the user's files, made on the way where the library's rules say so.
    /// @throws Failure if there is none
    qf::ustring user() const;
    /// Empty if none is set, as for the next one.
    qf::ustring factory() const;
    qf::ustring workgroup() const;

    qf::ustring userFile(std::string const& product) const;
    /// The product whose user file a path names; empty if it is none. Makes no directory.
    std::string productOfUserFile(qf::ustring const& file) const;
    /// The product that a settings file belongs to by its place; empty if there is none.
    std::string productOfFile(qf::ustring const& file) const;
    /// From now on the user's files are saved in this directory.
    void saveIn(qf::ustring const& directory);

    /// The folder of the files that define a product.
    qf::ustring factoryFolder(std::string const& product) const;
    /// All folders in the factory directory, whether or not they are one of a product.
    std::vector<qf::ustring> factoryFolders() const;
    /// The product whose files would be in the folder.
    static std::string productOfFactoryFolder(qf::ustring const& folder);
    /// The files that define a product, in the order in which they are read.
    std::vector<qf::ustring> factoryFiles(std::string const& product) const;
    /// Where a product is defined, for messages: its one factory file, or their folder.
    std::string definedIn(std::string const& product) const;

    /// The one of the products that keeps a factory folder from being one, by a name that differs
    /// from its own only in case; empty if there is none.
    std::string hidingProduct(qf::ustring const& folder,
                              std::set<std::string> const& products) const;

    /// Names of the folders in a folder; none if it cannot be listed.
    static std::vector<std::string> foldersIn(qf::ustring const& folder);
    /// The regular files of any folder; none if it cannot be listed.
    static std::vector<qf::ustring> filesIn(qf::ustring const& folder);

private:
    qf::ustring saves_;  ///< Empty: the user directory.
};

}  // namespace qbsettings
