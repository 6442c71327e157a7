#pragma once

#include <memory>
#include <string>

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/tree/Settings.hpp>

#include <support/TempFolder.hpp>

namespace qbbench {

using settings::core::Settings;
using Node = boost::shared_ptr<Settings>;

/// Products on disk, in a folder of their own: "p0" and so on, each with groups "g0" and so on of
/// keys "k0" and so on. All keys are doubles with a factory value.
class Files {
public:
    struct Shape {
        int products = 1;
        int groups = 0;  ///< None: the keys are the product's own.
        int keys = 1;    ///< In each group.
        bool userValues = false;
    };
    /// In memory, where the machine has such a folder, the figures are those of the library and not
    /// of a disk; the disk is where temporary files go.
    enum class Place { memory, disk };
    explicit Files(Shape const& shape, Place place = Place::memory);

    std::string factoryDir() const { return (folder_->path() / "toolbox").string(); }
    std::string userDir() const { return (folder_->path() / "user").string(); }
    std::string factoryFile(int product = 0) const;
    std::string userFile(int product = 0) const;
    std::string scratchFile(std::string const& name) const { return userDir() + "/" + name; }

private:
    std::unique_ptr<qbtest::TempFolder> folder_;
};

class Table;
/// First uses in processes of their own, of the first product of these files.
void addFreshProcesses(Table& table, Files const& files);

/// An instance of the host that reads such files, until the end of the scope.
class Instance {
public:
    explicit Instance(Files const& files);
    ~Instance();
    Instance(Instance const&) = delete;
    Instance& operator=(Instance const&) = delete;

    /// The first call makes the tree, with products that are not loaded.
    Node root() const { return Settings::getSettingsRoot(id_); }
    settings::core::ZcrID const& id() const { return id_; }

private:
    settings::core::ZcrID id_;
};

/// One product of 50 keys a group, loaded; `keys` is 100 at least. The same for all that ask for
/// the same size, and never destroyed.
struct LoadedProduct {
    static constexpr int keysInGroup = 50;
    explicit LoadedProduct(int count, Files::Place place = Files::Place::memory);
    static LoadedProduct const& of(int count);

    int const keys;
    Files const files;
    Instance const instance;
    Node const root;
    Node const product;
    Node const group;                 ///< One in the middle.
    std::string const groupFullName;  ///< Its full name.
};

}  // namespace qbbench
