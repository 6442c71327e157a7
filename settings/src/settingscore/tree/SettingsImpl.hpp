#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <iosfwd>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <boost/any.hpp>
#include <boost/enable_shared_from_this.hpp>
#include <boost/function.hpp>
#include <boost/logic/tribool.hpp>
#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/shared_mutex.hpp>
#include <boost/weak_ptr.hpp>
#include <settingscore/host/EventMgr.hpp>
#include <settingscore/host/UString.hpp>
#include <settingscore/rules/RunTimeDefault.hpp>
#include <settingscore/rules/SettingsKeyMetaData.hpp>
#include <settingscore/rules/Validator.hpp>
#include <settingscore/rules/ValueArraySizeValidator.hpp>
#include <settingscore/tree/LevelValues.hpp>
#include <settingscore/tree/LoadOnce.hpp>
#include <settingscore/tree/Rare.hpp>
#include <settingscore/tree/TreeLock.hpp>
#include <settingscore/tree/ZSettings.hpp>

namespace settings::core {

class FakeSettingsTreeNode;
class SaveSettingsFunctor;
class SaveWalk;
class SettingsImplRoot;
class SettingsLevel;

/// The node behind `Settings`.
///
/// One lock, `mutexToRoot()`, covers structure and values of all trees. Reads hold it shared;
/// operations that check and then change hold it for upgrade and become exclusive for the change
/// alone. A node is loaded before the lock is taken. Under exclusive access nothing runs that locks
/// by itself; operations named `...WithLock` take the proof of a held lock and never lock, those
/// named `...Internal` work without a lock on nodes that no other thread can reach.
class SettingsImpl : public ZSettings, public boost::enable_shared_from_this<SettingsImpl> {
public:
    using ChildMap = std::map<std::string, boost::shared_ptr<SettingsImpl>>;
    using UpgradeLock = boost::upgrade_lock<boost::shared_mutex>;
    /// Writes a key's values, in the key's own type, as they stand on a level.
    using ValueWriterFcn = void (*)(detail::HeldLock const&, std::ostream&,
                                    boost::shared_ptr<SettingsImpl const> const&,
                                    std::string const& level, unsigned long depth);
    /// Checks a value against the key's type; may convert it in place.
    using ValueTypeChecker = void (*)(boost::any&);
    /// Fills a product node; appends to the list of errors.
    using LoadFunc = boost::function2<void, SettingsImpl*, ustring&>;
    using SaveFunc =
        boost::function3<void, SettingsLevel const* const, boost::shared_ptr<SettingsImpl> const&,
                         SaveSettingsFunctor const&>;

    /// The index that marks a key of any type; no value has it.
    static constexpr unsigned long anyTypeIndex = 25;

    explicit SettingsImpl(std::string name, bool isLeaf, boost::optional<bool> visible,
                          Validator validator = Validator(),
                          boost::shared_ptr<SettingsImpl> const& parent = {});
    SettingsImpl(std::string name, bool isLeaf, boost::optional<bool> visible, Validator validator,
                 boost::logic::tribool readOnly, boost::shared_ptr<SettingsImpl> const& parent);
    SettingsImpl(std::string name, bool isLeaf, boost::optional<bool> visible,
                 boost::optional<unsigned int> version, boost::logic::tribool readOnly,
                 Validator validator, boost::shared_ptr<SettingsImpl> const& parent);
    /// For a key whose type is known.
    SettingsImpl(std::string name, bool isLeaf, boost::optional<bool> visible,
                 ValueArraySizeValidator const& sizes, ValueWriterFcn writer,
                 ValueTypeChecker checker, Validator validator,
                 boost::shared_ptr<SettingsImpl> const& parent);
    /// Copies everything but parent, children, values and event identity, which is new.
    SettingsImpl(SettingsImpl const& other);
    ~SettingsImpl() override;

    // --- Process-wide -----------------------------------------------------------------------
    static boost::shared_mutex& mutexToRoot();
    static boost::shared_mutex* getImplRootMutex() { return &mutexToRoot(); }
    static boost::shared_ptr<SettingsImplRoot> getSettingsImplRoot(ZcrID const& id);
    /// Ends all instances; returns the blessed instance's root.
    static boost::shared_ptr<Settings> reset();
    static void setLoadCallOnceFunc(LoadFunc const& function);
    static void setSaveFunc(SaveFunc const& function);

    // --- Settings ---------------------------------------------------------------------------
    boost::any getAny(std::string const& name, std::string const& level) const override;
    std::string getName() const override;
    std::string getFullName() const override;
    boost::shared_ptr<Settings> getSettingsByFullName(std::string const& fullName) const override;
    boost::shared_ptr<Settings> getSettingsByPathVec(
        std::vector<std::string> const& path) const override;
    void unset(std::string const& name, std::string const& level) override;
    bool isSet(std::string const& name, std::string const& level) const override;
    boost::optional<unsigned long> getDataTypeIndex(std::string const& name) const override;
    boost::shared_ptr<Settings> getChild(std::string const& name) override;
    boost::shared_ptr<Settings const> getChild(std::string const& name) const override;
    std::vector<boost::shared_ptr<Settings>> getChildren() override;
    std::vector<boost::shared_ptr<Settings const>> getChildren() const override;
    boost::shared_ptr<Settings> getParent() override;
    boost::shared_ptr<Settings const> getParent() const override;
    bool isLeafNode() const override;
    bool isVisible() const override;
    bool isReadOnly() const override;
    bool isRoot() const override { return false; }
    boost::optional<unsigned int> getVersionNumber() const override;
    using Settings::addListener;
    Validator const& getValidator() const override;
    SettingsKeyMetaData<boost::any> getAnyMetaData(std::string const& name) const override;
    void mergeDescendants(boost::shared_ptr<Settings const> const& source,
                          std::string const& level) override;
    ZcrID getZcrID() const override;
    bool isConnectedToTheSettingsTree() const override;
    boost::shared_ptr<SettingsImpl const> getThisObjectImpl() const override;
    boost::shared_ptr<SettingsImpl> getThisObjectImpl() override;
    BatchErrors multipleSetImpl(NodeValue* first, NodeValue* last, std::string const& level,
                                bool rethrow) override;
    BatchErrors multipleValidateImpl(NodeValue* first, NodeValue* last,
                                     bool rethrow) const override;
    corebus::msg_svc::exchange::IDType getImplNodeEventId() const override;

    // --- ZSettings --------------------------------------------------------------------------
    void enableEventQueue(bool enable) override;
    void removeNode(std::string const& name) override;
    void removeKey(std::string const& name) override;
    void setParent(boost::shared_ptr<Settings> const& parent) override;
    void setValidator(Validator const& validator) override;
    bool isTopLevelNode() const override;

    /// Index of this key's type.
    virtual boost::optional<unsigned long> getDataTypeIndex() const;
    virtual bool isSettingsTreeRoot() const { return false; }

    // --- Navigation -------------------------------------------------------------------------
    /// The product above (or at) this node; the top of a standalone tree; the root for itself.
    boost::shared_ptr<SettingsImpl const> getTopLevelNode() const;
    boost::shared_ptr<SettingsImpl> getTopLevelNode();
    bool isOrphanRoot() const;
    boost::shared_ptr<SettingsImpl> getParentImpl() const { return parent_.lock(); }
    boost::shared_ptr<SettingsImpl> getChildImpl(std::string const& name) const;
    std::vector<boost::shared_ptr<SettingsImpl>> getChildrenImpl() const;
    bool isAscendant(boost::shared_ptr<SettingsImpl const> const& node) const;

    std::string const& nameWithLock() const { return name_; }
    bool isLeafWithLock() const { return isLeaf_; }
    std::string getFullNameWithLock(detail::HeldLock const& lock, bool includeRootName) const;
    unsigned long getNodeDepth(detail::HeldLock const& lock) const;
    boost::shared_ptr<SettingsImpl const> getTopLevelNodeWithLock(
        detail::HeldLock const& lock) const;
    bool isTopLevelNodeWithLock(detail::HeldLock const& lock) const;
    bool isConnectedWithLock(detail::HeldLock const& lock) const;
    boost::shared_ptr<SettingsImpl const> getRootForThisObjectWithLock(
        detail::HeldLock const& lock) const;
    /// The root of the tree if this node is on one.
    boost::shared_ptr<SettingsImplRoot const> getTreeRootWithLock(
        detail::HeldLock const& lock) const;
    boost::shared_ptr<SettingsImpl> getSettingsByRelativeNameWithLock(
        detail::HeldLock const& lock, std::vector<std::string>::const_iterator first,
        std::vector<std::string>::const_iterator last) const;
    std::vector<boost::shared_ptr<SettingsImpl>> getChildrenImplWithLock(
        detail::HeldLock const& lock) const;
    bool isReadOnlyWithLock(detail::HeldLock const& lock) const;
    bool isVisibleWithLock(detail::HeldLock const& lock) const;
    boost::optional<bool> visibleWithLock(detail::HeldLock const& lock) const;
    boost::optional<unsigned int> getVersionNumberWithLock(detail::HeldLock const& lock) const;

    // --- Values -----------------------------------------------------------------------------
    bool isUndefined() const;
    bool isUndefinedWithLock(detail::HeldLock const& lock) const;
    bool isRuntimeOwningLevel(std::string const& level) const;
    bool isRuntimeOwningLevelWithLock(detail::HeldLock const& lock, std::string const& level) const;
    boost::any getAnyValueInternal(std::string const& level, bool runDefault) const;
    /// `level` "" gives the value in force.
    boost::any getAnyValueInternalWithLock(detail::HeldLock const& lock, std::string const& level,
                                           bool runDefault) const;
    boost::any getAnyValueWithLock(detail::HeldLock const& lock, std::string const& level,
                                   bool runDefault) const;
    boost::any getCurrentStateWithLock(detail::HeldLock const& lock, bool runDefault) const;
    boost::optional<unsigned long> getDataTypeIndexInternal() const;
    /// Stores a parsed value on a node that no other thread can reach.
    void setAnyInternal(boost::any const& value, std::string const& level);
    Validator getValidatorToUse() const;
    Validator getValidatorFromParentChain(detail::HeldLock const& lock) const;
    bool hasValidatorFromParentChain(detail::HeldLock const& lock) const;
    void validateLevelName(std::string const& level) const;
    void validateAnyValueWithLock(detail::HeldLock const& lock, boost::any& value) const;
    void validateAnyValueWhenMerge(detail::HeldLock const& lock, boost::any& value) const {
        validateAnyValueWithLock(lock, value);
    }
    void validatePrecheckWithLock(boost::any& value, detail::HeldLock const& lock) const;
    void callValidator(detail::HeldLock const& lock,
                       boost::shared_ptr<SettingsImpl const> const& parent,
                       boost::any const& value) const;
    void initSetters(boost::any const& value) const;
    bool setAnyValueWithLock(UpgradeLock& lock, boost::any const& value, std::string const& level);
    void unsetAnyValueWithLock(UpgradeLock& lock, std::string const& level);
    void removeValueFromMapWithLock(UpgradeLock& lock, std::string const& level);
    std::vector<SettingsLevel const*> getLevelToUpdate(detail::HeldLock const& lock,
                                                       bool checkWritable) const;
    void getlevelsContainValue(detail::HeldLock const& lock, std::set<std::string>& levels) const;
    /// Strikes the levels that can't be modified; true if there was none. Deletes no file.
    static bool tryToDeleteFiles(std::set<std::string>& levelNames);
    void multipleValidateWithLock(detail::HeldLock const& lock, NodeValue* first,
                                  NodeValue const* last, bool rethrow, BatchErrors& errors) const;

    // --- Rules ------------------------------------------------------------------------------
    void setDataTypeIndex(unsigned long index);
    void setDataTypeIndexInternal(unsigned long index);
    void setMetaData(SettingsKeyMetaData<boost::any> const& metaData);
    void setMetaDataInternal(SettingsKeyMetaData<boost::any> const& metaData);
    SettingsKeyMetaData<boost::any> getKeyMetaData() const;
    SettingsKeyMetaData<boost::any> const& metaDataWithLock(detail::HeldLock const&) const {
        return metaData_.get();
    }
    void setVersionNumber(unsigned int version);
    /// The first definition wins.
    void setVersionNumberWithLock(UpgradeLock& lock, unsigned int version);
    void setVisible(UpgradeLock& lock, bool visible);
    void setRunTimeDefault(RunTimeDefault const& runTimeDefault);
    void setRunTimeDefaultInternal(RunTimeDefault const& runTimeDefault);
    RunTimeDefault const& getRunTimeDefault() const;
    RunTimeDefault const& runTimeDefaultWithLock(detail::HeldLock const&) const {
        return runTimeDefault_.get();
    }
    void setValidatorInternal(Validator const& validator);
    Validator const& validatorWithLock(detail::HeldLock const&) const { return validator_; }
    void setValueWriterFcnInternal(ValueWriterFcn writer);
    ValueWriterFcn getValueWriterFcn() const;
    void setValidateValueTypeFunc(ValueTypeChecker checker);
    void setValueArraySizeValidator(ValueArraySizeValidator const& sizes);
    boost::optional<ValueArraySizeValidator> getValueArraySizeValidator() const;

    // --- Edits ------------------------------------------------------------------------------
    /// True for an entry of a child map whose name equals the held one without regard to case.
    class SettingsNamingRule {
    public:
        explicit SettingsNamingRule(std::string name) : name_(std::move(name)) {}
        bool operator()(ChildMap::value_type const& entry) const;

    private:
        std::string name_;
    };
    /// Attaches without validation, event or file: for nodes that no other thread can reach. A
    /// child that comes under the tree root this way is loaded from its files when first touched.
    void setParentInternal(boost::shared_ptr<SettingsImpl> const& parent);
    void setParentImpl(UpgradeLock& lock, boost::shared_ptr<SettingsImpl> const& parent,
                       bool validate);
    void setParentWithLock(detail::HeldLock const& lock,
                           boost::shared_ptr<SettingsImpl> const& parent);
    void addToChildMapWithLock(detail::HeldLock const& lock,
                               boost::shared_ptr<SettingsImpl> const& child);
    void removeNodeImpl(boost::shared_ptr<SettingsImpl> const& child);
    /// True if `child` was there and is gone.
    bool removeNodeImplWithLock(UpgradeLock& lock, boost::shared_ptr<SettingsImpl> const& child);
    void resetParent() { parent_.reset(); }
    void validateValueBasedOnParentRule(detail::HeldLock const& lock,
                                        boost::shared_ptr<SettingsImpl const> const& parent) const;
    void validateValues(detail::HeldLock const& lock,
                        boost::shared_ptr<SettingsImpl const> const& parent) const;

    // --- Events -----------------------------------------------------------------------------
    /// Tells of `node` added to or removed from this one. Event is one of the two node events.
    template <class Event>
    void fireSettingsEventWithLock(detail::HeldLock const& lock,
                                   boost::shared_ptr<SettingsImpl const> const& node) const;
    void fireValueChangeWithLock(detail::HeldLock const& lock) const;
    template <class Event>
    ustring createEventIdentifier(detail::HeldLock const& lock) const;
    /// Appends this node's identifier and those of its ancestors, the root included.
    template <class Event>
    void createEventTypeOnNode(detail::HeldLock const& lock, std::vector<ustring>& tags) const;

    // --- Load and save ----------------------------------------------------------------------
    void loadIfNotInitializedYet();
    void loadIfNotInitializedYet() const;
    /// The default loader: reads the product's files of all levels.
    void loadSettingsOnce(ustring& errors);
    void updateSettingsFile(std::string const& level);
    void saveThisSubTree(std::string const& level);

    // --- Merge ------------------------------------------------------------------------------
    boost::shared_ptr<SettingsImpl> clone() const;
    boost::shared_ptr<SettingsImpl> cloneSelf() const;
    /// Folds one parsed file into a copy of `target`; failures that a bad file can cause are
    /// appended to `errors`.
    static boost::shared_ptr<SettingsImpl> mergeSettingsObject(
        boost::shared_ptr<SettingsImpl> const& target, boost::shared_ptr<SettingsImpl> const& src,
        std::string const& levelName, bool* firstMergeDone, ustring& errors,
        ustring const& fileName);

    // --- Export -----------------------------------------------------------------------------
    static void exportSettingsImpl(std::vector<boost::shared_ptr<Settings const>> const& nodes,
                                   ustring const& path, std::string const& levelName);
    void exportPreCheck(detail::HeldLock const& lock, ustring const& path) const;
    static void createSettingsFileImpl(boost::shared_ptr<SettingsImpl> const& node,
                                       ustring const& path, unsigned int version);

    // --- Writer -----------------------------------------------------------------------------
    template <bool Leaf>
    struct FilterLeafNode {
        bool operator()(ChildMap::value_type const& entry) const {
            return entry.second->isLeaf_ == Leaf;
        }
    };
    void saveSelf(detail::HeldLock const& lock, SaveWalk& walk, unsigned long depth,
                  std::string const& level) const;
    void saveAll(detail::HeldLock const& lock, std::ostream& stream, unsigned long depth,
                 std::string const& level) const;
    void writeOpenTag(detail::HeldLock const& lock, SaveWalk& walk, unsigned long depth) const;
    void writeKeyContent(detail::HeldLock const& lock, std::ostream& stream, unsigned long depth,
                         std::string const& level) const;
    void writeParentCloseTag(detail::HeldLock const& lock, SaveWalk& walk,
                             unsigned long depth) const;
    template <class Filter, class Function>
    void writeSettingsByGroup(Function const& function) const {
        for (auto const& entry : childMap()) {
            if (Filter()(entry)) function(*entry.second);
        }
    }
    bool shouldWriteRules(detail::HeldLock const& lock, std::string const& level) const;

private:
    /// What a key settles once about its values: by its definition, or by its first value.
    struct KeyRules {
        boost::optional<ValueTypeChecker> valueTypeChecker_;
        boost::optional<ValueArraySizeValidator> valueArraySizeValidator_;
        boost::optional<ValueWriterFcn> valueWriter_;
        boost::optional<unsigned long> dataTypeIndex_;

        bool isComplete() const {
            return valueTypeChecker_ && valueArraySizeValidator_ && valueWriter_ && dataTypeIndex_;
        }
    };

    /// The children as far as they may be looked at: none while a product is not loaded.
    ChildMap const& childMap() const;
    bool isContentPending() const { return contentPending_.load(std::memory_order_acquire); }
    SettingsImpl* findChild(std::string const& name) const;
    void addChild(boost::shared_ptr<SettingsImpl> const& child);
    // The value where it is stored, without a copy; where there is none, `computed`, with what a
    // runtime default gives or empty.
    boost::any const& viewOnLevel(detail::HeldLock const& lock, SettingsLevel const* level,
                                  std::string const& levelName, bool runDefault,
                                  boost::any& computed) const;
    boost::any const& viewInForce(detail::HeldLock const& lock, bool runDefault,
                                  boost::any& computed) const;
    /// What became of a value that was to be stored.
    struct Stored {
        bool changed;        ///< The level has a new value.
        bool tellListeners;  ///< The value in force changed.
    };
    Stored storeAnyValueWithLock(UpgradeLock& lock, boost::any const& value,
                                 SettingsLevel const& level);
    /// True if the value in force is no longer `old`.
    bool currentStateDiffersWithLock(detail::HeldLock const& lock, boost::any const& old) const;
    boost::optional<bool> definiteReadOnly() const;
    /// The level of that name, which exists.
    SettingsLevel const& checkLevelIsModifiable(std::string const& level) const;
    template <class Read>
    auto readRules(Read const& read) const;
    KeyRules copyOfRules() const;
    /// The rules, with what was missing taken from `value`. From then on they are changed by
    /// nobody but the operations that need exclusive access or a node of the thread's own.
    KeyRules const& settledRules(boost::any const& value) const;
    void takeOverRules(SettingsImpl const& src);
    /// Takes no lock: for nodes that no other thread can reach, or under exclusive access.
    template <class Change>
    void changeRules(Change const& change) const;
    boost::shared_ptr<SettingsImpl> sharedThis();
    boost::shared_ptr<SettingsImpl const> sharedThis() const;
    void saveWithLock(detail::SharedTreeLock const& lock, SettingsLevel const* level);
    /// Takes over what was loaded. Called inside the load: until that ends, no other thread looks
    /// at this node's content, so that no lock is needed (a caller may hold it already).
    void acceptChildren(SettingsImpl& loaded);

    // Merge engine: works on private copies. The lock is one that the caller holds.
    void mergeDescendantsPrecheck(detail::HeldLock const& lock,
                                  boost::shared_ptr<SettingsImpl const> const& src) const;
    void mergeIntoNode(detail::HeldLock const& lock, SettingsImpl const& src,
                       std::string const& levelName, bool defining, bool compareNames);
    /// Makes of the first file's parsed tree what folding it into the empty `target` would give,
    /// and of its nodes those of the product. Throws what the fold would; the parsed tree is used
    /// up.
    static boost::shared_ptr<SettingsImpl> takeFirstFile(
        SettingsImpl const& target, boost::shared_ptr<SettingsImpl> const& parsed,
        SettingsLevel const& level);
    void settleOnLevel(SettingsLevel const& level);
    void mergeIntoLeafNode(detail::HeldLock const& lock, SettingsImpl const& src,
                           std::string const& levelName);
    void mergeIntoNonLeafNode(detail::HeldLock const& lock, SettingsImpl const& src,
                              std::string const& levelName, bool compareNames);
    void mergePreCheck(detail::HeldLock const& lock, SettingsImpl const& src, bool compareNames,
                       bool isLastLevel, bool defining);
    void defaultValidatorMergeCheck(detail::HeldLock const& lock, SettingsImpl const& src);
    struct GatheredEvent;
    void adoptNewDescendantsFromSrc(detail::HeldLock const& exclusive, SettingsImpl const& src,
                                    std::string const& levelName,
                                    std::vector<GatheredEvent>& events);
    /// Gives the value the shape that the key wants (one element to an array and back), if it fits.
    static void takeShape(KeyRules const& rules, boost::any& value);
    void adoptNewValue(detail::HeldLock const& exclusive, SettingsImpl const& src,
                       std::string const& levelName, std::vector<GatheredEvent>& events);
    bool isAscendantWithLock(SettingsImpl const* node) const;

    std::string const name_;
    bool const isLeaf_;
    /// True on a product whose files are still to be read: until then its content belongs to the
    /// thread that loads it.
    std::atomic<bool> contentPending_{false};
    detail::LoadOnce loadOnce_;
    mutable std::atomic<bool> rulesAreComplete_{false};
    boost::logic::tribool readOnly_;
    boost::optional<bool> visible_;
    boost::optional<unsigned int> versionNumber_;
    boost::weak_ptr<SettingsImpl> parent_;
    detail::LevelValues levelValues_;
    ChildMap children_;
    Validator validator_;
    detail::Rare<SettingsKeyMetaData<boost::any>> metaData_;
    /// Filled from const operations under shared locks: guarded by a mutex of its own until they
    /// are complete.
    mutable KeyRules rules_;
    corebus::msg_svc::exchange::IDType nodeEventId_;
    detail::Rare<RunTimeDefault> runTimeDefault_;
};

}  // namespace settings::core
