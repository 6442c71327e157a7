#pragma once

#include <queue>
#include <string>

#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/Export.hpp>
#include <settingscore/tree/Settings.hpp>

namespace settings::core {

/// Properties of a node made by `ZSettings::createSetting`.
struct SettingsProperties {
    bool hidden = false;    ///< The node is not visible.
    bool readOnly = false;  ///< As the attribute of a file.
    Validator validator;    ///< The node's own.
    /// A key that takes values of any type.
    bool anyType = false;
};

/// The narrow entry of a scripting layer: finds roots, makes nodes, and reaches the operations of
/// an instance, so that such a layer needs no other class.
class SETTINGSCORE_API ZSettings : public Settings {
public:
    // What is static here is in roots/ZSettings.cpp.

    /// Adds an instance. False, with nothing changed, if it is there already.
    static bool createEmptySettingsFor(ZcrID const& id);
    /// Puts directories in the place of those that the environment gives; an unset one restores the
    /// environment's. Takes effect with the next file; loaded products keep what they read. Does
    /// nothing for an unknown instance.
    static void setSettingsFileLocation(ZcrID const& id, boost::optional<ustring> const& factory,
                                        boost::optional<ustring> const& workgroup,
                                        boost::optional<ustring> const& user);
    /// The root of an instance, empty if there is none.
    static boost::shared_ptr<ZSettings> getZSettingsRoot(ZcrID const& id);
    /// @throws exception::InvalidSettingOrGroupName unless it is a legal variable name
    static void validateSettingOrGroupName(std::string const& name);
    /// @{
    /// A standalone node, to be attached with `setParent`. Does not check the name:
    /// `validateSettingOrGroupName` does. A key has no type yet and takes that of its first value;
    /// for a key of arrays see `setAny`, since an array of one element alone does not make one that
    /// outlives a restart.
    static boost::shared_ptr<Settings> createSettingsNode(std::string const& name, bool isLeaf,
                                                          bool visible, Validator const& validator,
                                                          bool readOnly);
    static boost::shared_ptr<Settings> createSetting(std::string const& name, bool isLeaf,
                                                     SettingsProperties& properties);
    /// @}
    /// Swaps the pending events of an instance into `queue`, which is to be empty; leaves it alone
    /// if the instance has no root.
    static void eventQueue(std::queue<boost::shared_ptr<SettingsEvent const>>& queue,
                           ZcrID const& id);
    /// Detaches the root of the blessed instance and returns it. With `AnyZcrID` all instances end,
    /// and the next request for the blessed root builds a new one from the files; with any other id
    /// there is no root until then.
    static boost::shared_ptr<Settings> reset(ZcrID const& id);
    /// @{
    /// Directories of an instance; empty for an unknown instance. The first to ask for the user
    /// directory can have it made and filled from an older release, and gets what fails there.
    /// @throws ZENBAR::settings::core::SettingsUserDirectoryNotExist
    static ustring getFactoryDir(ZcrID const& id);
    static ustring getWorkgroupDir(ZcrID const& id);
    static ustring getUserDir(ZcrID const& id);
    /// @}

    /// On a root: from now on (or no longer) all events are queued for `eventQueue` as well. No
    /// effect on other nodes.
    virtual void enableEventQueue(bool enable) = 0;
    /// Removes a child group with all it holds. Listeners are notified; the product's files
    /// are rewritten, or deleted if the group is a product, also if a listener throws. Loads.
    /// @throws exception::NoSuchNode, exception::NotANodeName,
    ///         exception::CannotAddRemoveNodeUnderReadOnlyParent,
    ///         exception::NoFileWritePermissionOnMultipleLevels for factory values; what a
    ///         listener or the save throws, which leaves the node removed
    virtual void removeNode(std::string const& name) = 0;
    /// Same for a child key. @throws exception::NoSuchKey, exception::NotAKeyName, and as above
    virtual void removeKey(std::string const& name) = 0;
    /// Attaches this standalone node. Values are checked against the validators that they come
    /// under; listeners are notified; the product's files are rewritten, also if a listener throws.
    /// Does nothing for an empty `parent`. Loads the parent.
    /// @throws exception::CannotAddRemoveNodeUnderReadOnlyParent,
    ///         exception::CanNotAddKeyToRootException, exception::ErrorAddingTopLevelNode,
    ///         exception::ErrorAddingChildNodeOrKey, std::invalid_argument (to itself or below
    ///         itself, or the root of a tree), and what a validator throws: the node then stays
    ///         where it was; what a listener or the save throws, which leaves the node attached
    virtual void setParent(boost::shared_ptr<Settings> const& parent) = 0;
    /// Gives the node a validator of its own, or with an empty one none. Values that are there are
    /// not judged, and nothing is saved.
    virtual void setValidator(Validator const& validator) = 0;
    /// True for a product.
    virtual bool isTopLevelNode() const = 0;
};

}  // namespace settings::core
