#pragma once

#include <string>
#include <utility>

#include <settingscore/errors/InternalError.hpp>

/// Errors of reading, setting and editing the tree.
namespace settings::core::exception {

/// A key was asked for, and there is no node of that name.
class SETTINGSCORE_API NoSuchKey : public InternalError,
                                   public detail::WithObjectInvolved,
                                   public detail::WithInputName {
public:
    NoSuchKey(NodePtr node, std::string name)
        : WithObjectInvolved(std::move(node)), WithInputName(std::move(name)) {}
    char const* what() const noexcept override { return "The request setting does not exist."; }
};

/// A group was asked for, and there is no node of that name.
class SETTINGSCORE_API NoSuchNode : public InternalError,
                                    public detail::WithObjectInvolved,
                                    public detail::WithInputName {
public:
    NoSuchNode(NodePtr node, std::string name)
        : WithObjectInvolved(std::move(node)), WithInputName(std::move(name)) {}
    char const* what() const noexcept override { return "The sub Settings node does not exist."; }
};

/// A group stands where a key was asked for.
class SETTINGSCORE_API NotAKeyName : public InternalError,
                                     public detail::WithObjectInvolved,
                                     public detail::WithInputName {
public:
    NotAKeyName(NodePtr node, std::string name)
        : WithObjectInvolved(std::move(node)), WithInputName(std::move(name)) {}
    char const* what() const noexcept override {
        return "The input name is a sub node name under the parent node. It is not a settings "
               "name.";
    }
};

/// A key stands where a group was asked for.
class SETTINGSCORE_API NotANodeName : public InternalError,
                                      public detail::WithObjectInvolved,
                                      public detail::WithInputName {
public:
    NotANodeName(NodePtr node, std::string name)
        : WithObjectInvolved(std::move(node)), WithInputName(std::move(name)) {}
    char const* what() const noexcept override {
        return "The input name is a settings name under the parent node. It is not a sub node "
               "name.";
    }
};

/// There is no level of that name.
class SETTINGSCORE_API UnSupportedLevel : public InternalError, public detail::WithObjectInvolved {
public:
    UnSupportedLevel(NodePtr node, std::string levelName, std::string supportedLevels)
        : WithObjectInvolved(std::move(node)),
          levelName_(std::move(levelName)),
          supportedLevels_(std::move(supportedLevels)) {}
    char const* what() const noexcept override {
        return "The level specified is not a supported level.";
    }
    /// The name as the caller gave it.
    std::string const& getInputLevel() const { return levelName_; }
    /// The names of the levels, each with ", " behind it, then a line end.
    std::string const& getSupportedLevelList() const { return supportedLevels_; }

private:
    std::string levelName_;
    std::string supportedLevels_;
};

/// The key has no value on the level.
class SETTINGSCORE_API ValueNotDefinedForGivenLevel : public InternalError,
                                                      public detail::WithObjectInvolved {
public:
    ValueNotDefinedForGivenLevel(NodePtr node, std::string levelName)
        : WithObjectInvolved(std::move(node)), levelName_(std::move(levelName)) {}
    char const* what() const noexcept override {
        return "No value is not defined for this setting on the given level";
    }
    /// The level.
    std::string const& getInputLevel() const { return levelName_; }

private:
    std::string levelName_;
};

/// The values of the level cannot be changed.
class SETTINGSCORE_API CantModifyValuesOnReadOnlyLevel : public InternalError,
                                                         public detail::WithObjectInvolved {
public:
    CantModifyValuesOnReadOnlyLevel(NodePtr node, std::string levelName)
        : WithObjectInvolved(std::move(node)), levelName_(std::move(levelName)) {}
    char const* what() const noexcept override {
        return "The Settings file on the give level is read-only";
    }
    /// The level.
    std::string const& getLevelToModify() const { return levelName_; }

private:
    std::string levelName_;
};

/// The key is read-only.
class SETTINGSCORE_API CannotChangeValueForReadOnlySetting : public InternalError,
                                                             public detail::WithCausingObject {
public:
    explicit CannotChangeValueForReadOnlySetting(NodePtr node)
        : WithCausingObject(std::move(node)) {}
    char const* what() const noexcept override {
        return "The setting is read-only, cannot change its value.";
    }
};

/// The group is read-only: nothing in it can be added, removed or unset.
class SETTINGSCORE_API CannotAddRemoveNodeUnderReadOnlyParent : public InternalError {
public:
    CannotAddRemoveNodeUnderReadOnlyParent(NodePtr child, NodePtr parent)
        : child_(std::move(child)), parent_(std::move(parent)) {}
    char const* what() const noexcept override {
        return "The parent group object is read-only. Cannot add/remove node to/from it.";
    }
    /// The node that was to be added, removed or unset.
    NodePtr const& getChildObject() const { return child_; }
    /// The group.
    NodePtr const& getParentObject() const { return parent_; }

private:
    NodePtr child_;
    NodePtr parent_;
};

/// A key was to stand directly under the root.
class SETTINGSCORE_API CanNotAddKeyToRootException : public InternalError {
public:
    explicit CanNotAddKeyToRootException(boost::shared_ptr<Settings> node)
        : causingObject_(std::move(node)) {}
    char const* what() const noexcept override { return "Can't add key to the Settings root"; }
    /// The key.
    boost::shared_ptr<Settings> const& getCausingObject() const { return causingObject_; }

private:
    boost::shared_ptr<Settings> causingObject_;
};

/// There is a product of that name already, perhaps in another case.
class SETTINGSCORE_API ErrorAddingTopLevelNode : public InternalError {
public:
    ErrorAddingTopLevelNode(std::string nameGiven, std::string existingProductName)
        : nameGiven_(std::move(nameGiven)), existingName_(std::move(existingProductName)) {}
    char const* what() const noexcept override {
        return "The product name has already existed. Product name cannot only vary by case.";
    }
    /// The name of the product that was to be added.
    std::string const& getProductNamePassedIn() const { return nameGiven_; }
    /// The name of the one that is there.
    std::string const& getExistingProductName() const { return existingName_; }

private:
    std::string nameGiven_;
    std::string existingName_;
};

/// The group has a child of that name already.
class SETTINGSCORE_API ErrorAddingChildNodeOrKey : public InternalError,
                                                   public detail::WithObjectInvolved {
public:
    ErrorAddingChildNodeOrKey(NodePtr node, std::string name)
        : WithObjectInvolved(std::move(node)), existingName_(std::move(name)) {}
    char const* what() const noexcept override {
        return "The parent object contains a child with the same name already.";
    }
    /// The name of the child.
    std::string const& getExistingNodeKeyName() const { return existingName_; }

private:
    std::string existingName_;
};

/// A name that no node can have: see `ZSettings::validateSettingOrGroupName`.
class SETTINGSCORE_API InvalidSettingOrGroupName : public InternalError {
public:
    explicit InvalidSettingOrGroupName(std::string name) : name_(std::move(name)) {}
    char const* what() const noexcept override {
        return "Setting or group name should be a valid ZENBAR variable name";
    }
    /// The name as the caller gave it.
    std::string const& getInputNodeName() const { return name_; }

private:
    std::string name_;
};

/// A name in a batch is that of no key.
class SETTINGSCORE_API InvalidNodePath : public InternalError, public detail::WithObjectInvolved {
public:
    InvalidNodePath(NodePtr node, std::string name)
        : WithObjectInvolved(std::move(node)), name_(std::move(name)) {}
    char const* what() const noexcept override {
        return "The setting name (could be dot separated path) does not represent a valid setting";
    }
    /// The name as the caller gave it.
    std::string const& getInvalidName() const { return name_; }

private:
    std::string name_;
};

/// A node with values on levels that cannot be changed was to be removed.
class SETTINGSCORE_API NoFileWritePermissionOnMultipleLevels : public InternalError,
                                                               public detail::WithObjectInvolved {
public:
    NoFileWritePermissionOnMultipleLevels(NodePtr node, std::string levelsNeeded,
                                          std::string levelsWritable)
        : WithObjectInvolved(std::move(node)),
          levelsNeeded_(std::move(levelsNeeded)),
          levelsWritable_(std::move(levelsWritable)) {}
    char const* what() const noexcept override {
        return "Need to update multiple Settings file, but don't have write permission on some "
               "levels.";
    }
    /// Level names in byte order, joined with ", ".
    std::string const& getLevelNeedToBeUpdated() const { return levelsNeeded_; }
    /// Those of them that can be modified, in the same form.
    std::string const& getLevelsHasWritenPermissionOn() const { return levelsWritable_; }

private:
    std::string levelsNeeded_;
    std::string levelsWritable_;
};

}  // namespace settings::core::exception
