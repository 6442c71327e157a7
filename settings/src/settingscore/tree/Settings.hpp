#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <boost/any.hpp>
#include <boost/function.hpp>
#include <boost/noncopyable.hpp>
#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/shared_mutex.hpp>
#include <settingscore/Export.hpp>
#include <settingscore/host/ContextMgr.hpp>
#include <settingscore/host/EventMgr.hpp>
#include <settingscore/host/UString.hpp>
#include <settingscore/rules/SettingsKeyMetaData.hpp>
#include <settingscore/rules/Validator.hpp>

namespace settings::core {

class SettingsEvent;
class SettingsImpl;

/// One row of a batch's report: the key's name, and why it was refused.
using BatchErrors = std::vector<std::pair<std::string, std::string>>;

/// A node of a settings tree: a group, which holds named children, or a key, which holds at most
/// one value on each of the levels "session", "user" and "factory".
///
/// Nodes are owned by `boost::shared_ptr`. A node below the root of an instance is connected: its
/// changes are reported to listeners and saved to files. A child of the root is a product; its
/// content is loaded from its files by the first operation that needs it. A standalone node (no
/// parent, not the root) has the same operations, but neither saves nor notifies.
///
/// Values travel in a `boost::any` that holds one of the types of
/// `settingscore::boostany::SupportedTypes`; an empty one means no value. `std::int64_t`,
/// `std::uint64_t` and `std::size_t` are `long` types on this platform, which are not among them:
/// store `long long` and `unsigned long long` (`settingscore::boostany::makeAny` does so).
///
/// A level argument is the level's name; "" means, in reads, whichever level supplies the value,
/// and is an error in writes.
///
/// Any thread may call any operation. Validators, runtime defaults and listeners run on the thread
/// of the call that caused them while the tree is held for it: they may read any node. They must
/// not set, validate, attach, remove, merge, nor make a factory file; that would wait for the very
/// call they serve.
///
/// A signal handler must call nothing of the library: whatever it calls may lock or allocate, and
/// would wait for the very thread that it interrupted. The child of a `fork` has the locks as they
/// were: if another thread was inside the library at that moment, it left locks that nobody can
/// release any more, and the child must call nothing that locks: let it go on to `exec`. If there
/// was none, it may call everything. Its tree is a copy from then on: of the saves of both
/// processes the last one wins.
///
/// An operation that "loads" throws `exception::ErrorReadingSettingsData` (code 7) once, when it is
/// the first to touch a product with faulty files; what could be read is there afterwards.
class SETTINGSCORE_API Settings : private boost::noncopyable {
public:
    /// A node and the value that it is to have.
    using NodeValue = std::pair<boost::shared_ptr<Settings>, boost::any>;
    /// The name of a key (dots separate the parts of a path) and the value it is to have.
    using NameValue = std::pair<std::string, boost::any>;

    static std::string const settingsExtension;      ///< ".settings"
    static std::string const settingsXMLFileHeader;  ///< First line of a file, without line end.
    static std::string const settingsXMLNameSpace;   ///< Namespace of the elements.
    static std::string const settingsSchemaInfo;     ///< Schema attributes of the root element.

    /// The root of an instance; empty if there is no such instance or if it has ended.
    static boost::shared_ptr<Settings> getSettingsRoot(ZcrID const& id);  // In roots/.

    /// The lock of all trees of the process. Hold it shared (`boost::shared_lock`) around several
    /// reads that belong together. While it is held so, do nothing on the same thread that a
    /// validator may not do either (`validateAny` and `validateMultiple` wait for a writer, which
    /// waits for you), and never take it exclusively: the library reaches exclusive access through
    /// upgrade alone, and a plain exclusive waiter would stop readers that hold the lock already.
    static boost::shared_mutex* getTheRootMutex();

    /// Reads a settings file, and the files it names as additional paths, as a standalone tree with
    /// all values on the level "user". Takes no lock.
    /// @throws exception::ErrorExportOrImportSettingsUsingRelativePath,
    ///         exception::ErrorReadingSettingsData, exception::ErrorAddingChildNodeOrKey (a name
    ///         twice), exception::ErrorMergingNodesWithDiffAttr and exception::ValidationException
    ///         (an additional file that does not fit), numeric and cast errors of Boost for broken
    ///         numbers
    static boost::shared_ptr<Settings> importAsStandaloneObject(ustring const& path);

    // This one, the one above and the one below: in persistence/SettingsImplExport.cpp.

    /// Writes the nodes, all of one product, with the path from the product down to each, into one
    /// file: the values of one level, or with "" the stored values in force (without
    /// what a runtime default computes, and without validators of keys).
    /// Loads the nodes; holds the tree shared while it writes. The file is written in place: a
    /// failure can leave a part of it.
    /// @throws exception::UnSupportedLevel,
    /// exception::ErrorExportMultipleNodesBelongsToDiffProducts,
    ///         exception::CannotExportSettingsRoot, exception::CannotExportStandaloneSettings,
    ///         exception::ErrorExportOrImportSettingsUsingRelativePath,
    ///         exception::ErrorSaveSettingsDueToFileIOError; std::invalid_argument for an empty
    ///         list or a null node, with no file touched
    static void exportSettings(std::vector<boost::shared_ptr<Settings const>> const& nodes,
                               ustring const& path, std::string const& levelName);

    /// Writes the standalone tree that `node` belongs to as a file for the factory level. `version`
    /// replaces the version of the tree, and stays set, for which the tree is taken exclusively for
    /// a moment. Holds the tree shared while it writes. The file is written in place: a failure can
    /// leave a part of it.
    /// @throws exception::ErrorCreateFactoryFileFromATreeNode,
    ///         exception::ErrorExportOrImportSettingsUsingRelativePath,
    ///         exception::ErrorSaveSettingsDueToFileIOError; std::invalid_argument for a null node
    static void createFactorySettingsFile(boost::shared_ptr<Settings const> const& node,
                                          ustring const& path, unsigned int version);

    /// Checks `value` and stores it on `level` of the key `name` of this group; notifies listeners
    /// if the value in force changed, and rewrites the product's file of that level. The value may
    /// be converted to the key's shape first (one element to an array and back). A value equal to
    /// the one on the level changes nothing.
    ///
    /// A failure before the store changes nothing. A failure to save reaches the caller, and the
    /// value stays changed in memory. What a listener throws reaches the caller after the save. A
    /// runtime default that stands behind the value is evaluated to see whether the value in force
    /// changes: if it fails with a message-id exception, nothing is saved, nobody is notified, and
    /// the call returns normally; read the value back where that matters.
    ///
    /// A key without definition takes its type and size from the first value that is checked, even
    /// if that value is refused afterwards. An array of n elements makes it a key of up to n, an
    /// empty array one of any number. A file does not tell an array of at most one from a
    /// single value: a key whose first value was an array of one has the bare element after a
    /// restart. `validateAny` with an empty array, called before, makes it one of arrays for good.
    ///
    /// @throws exception::NoSuchKey, exception::UnSupportedLevel,
    ///         exception::CantModifyValuesOnReadOnlyLevel, exception::NotAKeyName,
    ///         exception::CannotChangeValueForReadOnlySetting, the errors of the value checks
    ///         (exception::ValidationException, ZENBAR::settings::core::DataTypeNotMatch), and
    ///         exception::ValidationFunctionInvokingError
    void setAny(std::string const& name, boost::any const& value, std::string const& level);

    /// Checks `value` as `setAny` does and stores nothing. A key without definition takes its type
    /// and size from it all the same.
    void validateAny(std::string const& name, boost::any const& value) const;

    /// Sets several keys on one level as one action. `range` holds (name, value) or (node, value)
    /// pairs; names are paths below this node. All are checked against the present state before the
    /// first is stored: if one is refused, none is stored. Then they are stored in order, each with
    /// its event and its save; a failing save leaves those before it stored. What a listener
    /// throws ends the batch as well, once the element that it was called for is saved.
    /// @return the refused elements, empty if all were stored: first those whose name is not found,
    ///         then the others in order. A name that is not found has a second row among these,
    ///         with its number in place of the name, and "NULLOBJ".
    /// @throws exception::UnSupportedLevel, exception::CantModifyValuesOnReadOnlyLevel;
    ///         ZENBAR::settings::core::DataTypeNotMatch: a value of a wrong type ends the batch,
    ///         and nothing is stored
    template <class Range>
    BatchErrors setMultiple(Range const& range, std::string const& level);

    /// As `setMultiple`, but the first refused element is thrown as its own exception; a name that
    /// is not found as exception::InvalidNodePath. A null node is reported, not thrown.
    template <class Range>
    BatchErrors setMultipleOrThrow(Range const& range, std::string const& level);

    /// The checks of `setMultiple`; nothing is stored.
    template <class Range>
    BatchErrors validateMultiple(Range const& range) const;

    /// The checks of `setMultipleOrThrow`; nothing is stored.
    template <class Range>
    BatchErrors validateMultipleOrThrow(Range const& range) const;

    /// Calls `listener` for each event of class T on this node or anything below it, as long as the
    /// connection lives; the addition or removal of a node is an event of the node's parent. T is
    /// one of the event classes; the base `SettingsEvent` stands for all of them. Empty for a node
    /// that is not connected. What a listener throws reaches the caller of the change, which stays
    /// made and is saved first; if the save fails as well, the listener's failure is the one
    /// thrown. Only in a merge it ends the call before the save.
    /// @throws std::invalid_argument for an empty listener
    template <class T>
    std::unique_ptr<corebus::msg_svc::eventmgr::Connection> addListener(
        boost::function<void(T const&)> const& listener) const;

    /// @{
    /// The tag under which events of class T, a leaf of the event classes, are published for this
    /// node: what a subscriber gives to the host's event manager. `getFilterTagStrings` has it as a
    /// list of one.
    template <class T>
    ustring getEventStrForType() const;
    template <class T>
    std::vector<ustring> getFilterTagStrings() const;
    /// @}

    virtual ~Settings();

    /// Value of the key `name` of this group on a level, or in force. Loads.
    /// @throws exception::NoSuchKey, exception::NotAKeyName, exception::UnSupportedLevel, and the
    ///         errors of a runtime default and of the checks of its result
    virtual boost::any getAny(std::string const& name, std::string const& level) const = 0;
    /// The name within the group; "root" for the root.
    virtual std::string getName() const = 0;
    /// Names from the product down, joined with "."; in a standalone tree from its top node down.
    virtual std::string getFullName() const = 0;
    /// The node at a dotted path below this one, empty if there is none; empty parts are dropped.
    /// Loads.
    virtual boost::shared_ptr<Settings> getSettingsByFullName(
        std::string const& fullName) const = 0;
    /// Same for a path given in parts; an empty part names nothing.
    virtual boost::shared_ptr<Settings> getSettingsByPathVec(
        std::vector<std::string> const& path) const = 0;
    /// Removes the value of the key `name` on one level, notifies listeners if the value in force
    /// changed, and rewrites the file. Loads. A value that was removed stays removed and the file
    /// is rewritten, whatever fails after that (a runtime default that now stands in, a listener);
    /// the first such failure is thrown at the end.
    /// @throws exception::NoSuchKey, exception::NotAKeyName, exception::UnSupportedLevel,
    ///         exception::CantModifyValuesOnReadOnlyLevel,
    ///         exception::CannotAddRemoveNodeUnderReadOnlyParent,
    ///         exception::ValueNotDefinedForGivenLevel
    virtual void unset(std::string const& name, std::string const& level) = 0;
    /// True if `getAny` gives a value; a runtime default counts. Throws what `getAny` throws.
    virtual bool isSet(std::string const& name, std::string const& level) const = 0;
    /// Index of the key's type in `SupportedTypes`, 25 for a key of any type, none if the key has
    /// neither definition nor value yet. Loads.
    /// @throws exception::NoSuchKey, exception::NotAKeyName
    virtual boost::optional<unsigned long> getDataTypeIndex(std::string const& name) const = 0;
    /// @{
    /// The child of that name, empty if there is none. Loads.
    virtual boost::shared_ptr<Settings> getChild(std::string const& name) = 0;
    virtual boost::shared_ptr<Settings const> getChild(std::string const& name) const = 0;
    /// @}
    /// @{
    /// The children in byte order of their names. Loads.
    virtual std::vector<boost::shared_ptr<Settings>> getChildren() = 0;
    virtual std::vector<boost::shared_ptr<Settings const>> getChildren() const = 0;
    /// @}
    /// @{
    /// Empty for the root and for a standalone node.
    virtual boost::shared_ptr<Settings> getParent() = 0;
    virtual boost::shared_ptr<Settings const> getParent() const = 0;
    /// @}
    /// True for a key.
    virtual bool isLeafNode() const = 0;
    /// The node's own flag; information for clients, nothing is hidden by it.
    virtual bool isVisible() const = 0;
    /// A key's own flag; a group's flag, or the nearest definite one above it below the root.
    virtual bool isReadOnly() const = 0;
    /// True for the root of an instance.
    virtual bool isRoot() const = 0;
    /// Version of the product's definition.
    virtual boost::optional<unsigned int> getVersionNumber() const = 0;
    /// Listens for value changes of this node and of everything below it, see the template.
    virtual std::unique_ptr<corebus::msg_svc::eventmgr::Connection> addListener(
        boost::function<void(SettingsEvent const&)> const& listener) const;
    /// The node's own validator. The reference is to the node's field: hold the root mutex shared
    /// while it is used if other threads may set it.
    virtual Validator const& getValidator() const = 0;
    /// Minimum, maximum and choices of the key `name`. Loads. @throws exception::NoSuchKey
    virtual SettingsKeyMetaData<boost::any> getAnyMetaData(std::string const& name) const = 0;
    /// Adds what the standalone tree `source` has below its top, and this node lacks, to this node:
    /// nodes, and values on `level`. What is there stays. All or nothing against conflicts and
    /// refused values; new nodes and values are reported to listeners, then the product's file of
    /// the level is rewritten. What a listener throws ends the call before that; a failing save
    /// leaves the merge in memory. `source` is only read. Loads.
    ///
    /// A key that is there and has its type checks its first value like any other. One that the
    /// merge makes, or that has neither type nor value yet, takes it unchecked.
    /// @throws exception::UnSupportedLevel, exception::CantModifyValuesOnReadOnlyLevel,
    ///         exception::CannotMergeWithSettingsRoot,
    ///         exception::ErrorMergingWithCircularReference,
    ///         exception::CanOnlyMergeTreeNodeWithStandaloneNode,
    ///         exception::ErrorMergingNodesWithDiffAttr, exception::MultipleRuntimeFuncError, and
    ///         the errors of the value checks; std::invalid_argument for an empty source
    virtual void mergeDescendants(boost::shared_ptr<Settings const> const& source,
                                  std::string const& level) = 0;
    /// Instance of the tree; `UndefinedZcrID` off a tree.
    virtual ZcrID getZcrID() const = 0;
    /// True if the node is part of an instance's tree, the root included.
    virtual bool isConnectedToTheSettingsTree() const = 0;
    /// @{
    /// The node as the library sees it.
    virtual boost::shared_ptr<SettingsImpl const> getThisObjectImpl() const = 0;
    virtual boost::shared_ptr<SettingsImpl> getThisObjectImpl() = 0;
    /// @}
    /// The work of the batch and of `setAny`; values may be converted in place.
    virtual BatchErrors multipleSetImpl(NodeValue* first, NodeValue* last, std::string const& level,
                                        bool rethrow) = 0;
    /// The work of the checks of a batch and of `validateAny`.
    virtual BatchErrors multipleValidateImpl(NodeValue* first, NodeValue* last,
                                             bool rethrow) const = 0;
    /// What the tags of this node's events are made of.
    virtual corebus::msg_svc::exchange::IDType getImplNodeEventId() const = 0;

protected:
    Settings();

private:
    template <class Range>
    std::vector<NodeValue> toNodeValues(Range const& range, bool throwIfMissing,
                                        BatchErrors& errors) const;
    template <class Range>
    BatchErrors setRange(Range const& range, std::string const& level, bool rethrow);
    template <class Range>
    BatchErrors validateRange(Range const& range, bool rethrow) const;
    boost::shared_ptr<Settings const> self() const;
    /// The tags under which events of these types are published for this node.
    std::vector<ustring> getFilterTagStrings(std::vector<ustring> const& typeTags) const;
    /// Subscribes through `subscribe` to the tags of this node for each of the types.
    std::unique_ptr<corebus::msg_svc::eventmgr::Connection> addListenerImpl(
        boost::function<std::unique_ptr<corebus::msg_svc::eventmgr::Connection>(
            corebus::msg_svc::eventmgr::EventMgr&, std::vector<ustring> const&)> const& subscribe,
        std::vector<ustring> const& typeTags) const;
};

}  // namespace settings::core

#include <settingscore/tree/SettingsTemplates.hpp>
