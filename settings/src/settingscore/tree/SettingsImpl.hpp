#pragma once

#include <iosfwd>
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
#include <settingscore/tree/NodeContent.hpp>
#include <settingscore/tree/TreeLock.hpp>
#include <settingscore/tree/ZSettings.hpp>
#include <settingscore/value/SupportedTypes.hpp>

namespace settings::core {

class SaveSettingsFunctor;
class SaveWalk;
class SettingsImplRoot;
class SettingsLevel;

/// The node behind `Settings`: identity, parent, children, and what a node holds (`NodeContent`).
/// The work is done by types beside it; each section below names the file.
///
/// One lock, `mutexToRoot()`, covers structure and values of all trees. Reads hold it shared;
/// operations that check and then change hold it for upgrade and become exclusive for the change
/// alone. A node is loaded before the lock is taken. Under exclusive access nothing runs that locks
/// by itself. Operations named `...WithLock` take the proof of a held lock and never lock, those
/// named `...Internal` work without a lock on nodes that no other thread can reach (but for
/// `getAnyValueInternal`, which takes the lock shared). Trees can be deep: nothing here calls
/// itself for each level.
class SettingsImpl : public ZSettings, public boost::enable_shared_from_this<SettingsImpl> {
public:
    using ChildMap = detail::ChildMap;
    using UpgradeLock = boost::upgrade_lock<boost::shared_mutex>;
    using ValueWriterFcn = detail::ValueWriterFcn;
    using ValueTypeChecker = detail::ValueTypeChecker;
    /// Fills a product node; appends to the list of errors.
    using LoadFunc = boost::function2<void, SettingsImpl*, ustring&>;
    using SaveFunc =
        boost::function3<void, SettingsLevel const* const, boost::shared_ptr<SettingsImpl> const&,
                         SaveSettingsFunctor const&>;

    /// The index that marks a key of any type; no value has it.
    static constexpr unsigned long anyTypeIndex = settingscore::boostany::anyTypeIndex;

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

    /// What the node holds; the rest of the tree sees it through `detail::NodeView`.
    detail::NodeContent const& contentWithLock(detail::HeldLock const&) const { return content_; }
    /// The same to change: on a node that no other thread can reach, or under exclusive access.
    detail::NodeContent& contentInternal() { return content_; }

    // --- Process-wide: SettingsImpl.cpp, LoadAndSave.cpp; roots/SettingsOfRoots.cpp -----------
    static boost::shared_mutex& mutexToRoot();
    static boost::shared_mutex* getImplRootMutex() { return &mutexToRoot(); }
    static void setLoadCallOnceFunc(LoadFunc const& function);
    static void setSaveFunc(SaveFunc const& function);
    static boost::shared_ptr<SettingsImplRoot> getSettingsImplRoot(ZcrID const& id);
    /// Ends all instances; returns the blessed instance's root.
    static boost::shared_ptr<Settings> reset();

    // --- Identity and flags: SettingsImpl.cpp -------------------------------------------------
    std::string getName() const override;
    bool isLeafNode() const override;
    bool isVisible() const override;
    void setVisible(UpgradeLock& lock, bool visible);
    bool isReadOnly() const override;
    bool isReadOnlyWithLock(detail::HeldLock const& lock) const;
    boost::optional<unsigned int> getVersionNumber() const override;
    void setVersionNumber(unsigned int version);
    /// The first definition wins.
    void setVersionNumberWithLock(UpgradeLock& lock, unsigned int version);
    boost::shared_ptr<SettingsImpl const> getThisObjectImpl() const override;
    boost::shared_ptr<SettingsImpl> getThisObjectImpl() override;
    corebus::msg_svc::exchange::IDType getImplNodeEventId() const override;
    void enableEventQueue(bool enable) override;
    bool isRoot() const override { return false; }
    virtual boost::optional<unsigned long> getDataTypeIndex() const;
    virtual bool isSettingsTreeRoot() const { return false; }

    // --- Places and children: SettingsImplPlaces.cpp, by way of NodeView and PathLookup -------
    std::string getFullName() const override;
    boost::shared_ptr<Settings> getSettingsByFullName(std::string const& fullName) const override;
    boost::shared_ptr<Settings> getSettingsByPathVec(
        std::vector<std::string> const& path) const override;
    boost::shared_ptr<Settings> getChild(std::string const& name) override;
    boost::shared_ptr<Settings const> getChild(std::string const& name) const override;
    std::vector<boost::shared_ptr<Settings>> getChildren() override;
    std::vector<boost::shared_ptr<Settings const>> getChildren() const override;
    boost::shared_ptr<Settings> getParent() override;
    boost::shared_ptr<Settings const> getParent() const override;
    ZcrID getZcrID() const override;
    bool isConnectedToTheSettingsTree() const override;
    bool isTopLevelNode() const override;
    /// The product above (or at) this node; the top of a standalone tree; the root for itself.
    boost::shared_ptr<SettingsImpl const> getTopLevelNode() const;
    boost::shared_ptr<SettingsImpl> getTopLevelNode();
    bool isOrphanRoot() const;
    boost::shared_ptr<SettingsImpl> getParentImpl() const { return content_.parent.lock(); }
    boost::shared_ptr<SettingsImpl> getChildImpl(std::string const& name) const;
    std::vector<boost::shared_ptr<SettingsImpl>> getChildrenImpl() const;
    bool isAscendant(boost::shared_ptr<SettingsImpl const> const& node) const;
    std::string getFullNameWithLock(detail::HeldLock const& lock, bool includeRootName) const;
    unsigned long getNodeDepth(detail::HeldLock const& lock) const;
    boost::shared_ptr<SettingsImpl const> getRootForThisObjectWithLock(
        detail::HeldLock const& lock) const;
    boost::shared_ptr<SettingsImpl> getSettingsByRelativeNameWithLock(
        detail::HeldLock const& lock, std::vector<std::string>::const_iterator first,
        std::vector<std::string>::const_iterator last) const;
    std::vector<boost::shared_ptr<SettingsImpl>> getChildrenImplWithLock(
        detail::HeldLock const& lock) const;

    // --- Values: SettingsImplValues.cpp, by way of KeyValues and ValueRemoval -----------------
    boost::any getAny(std::string const& name, std::string const& level) const override;
    bool isSet(std::string const& name, std::string const& level) const override;
    bool isUndefined() const;
    bool isRuntimeOwningLevel(std::string const& level) const;
    /// Takes the lock shared. `level` "" gives the value in force.
    boost::any getAnyValueInternal(std::string const& level, bool runDefault) const;
    boost::any getAnyValueWithLock(detail::HeldLock const& lock, std::string const& level,
                                   bool runDefault) const;
    boost::any getCurrentStateWithLock(detail::HeldLock const& lock, bool runDefault) const;
    /// Stores a parsed value on a node that no other thread can reach.
    void setAnyInternal(boost::any const& value, std::string const& level);
    bool setAnyValueWithLock(UpgradeLock& lock, boost::any const& value, std::string const& level);
    void unset(std::string const& name, std::string const& level) override;
    void unsetAnyValueWithLock(UpgradeLock& lock, std::string const& level);
    void removeValueFromMapWithLock(UpgradeLock& lock, std::string const& level);

    // --- Checks of levels and values: KeyChecks -----------------------------------------------
    void validateLevelName(std::string const& level) const;
    void validateAnyValueWithLock(detail::HeldLock const& lock, boost::any& value) const;
    void validateAnyValueWhenMerge(detail::HeldLock const& lock, boost::any& value) const {
        validateAnyValueWithLock(lock, value);
    }
    void validatePrecheckWithLock(boost::any& value, detail::HeldLock const& lock) const;
    void callValidator(detail::HeldLock const& lock,
                       boost::shared_ptr<SettingsImpl const> const& parent,
                       boost::any const& value) const;
    void validateValueBasedOnParentRule(detail::HeldLock const& lock,
                                        boost::shared_ptr<SettingsImpl const> const& parent) const;
    void validateValues(detail::HeldLock const& lock,
                        boost::shared_ptr<SettingsImpl const> const& parent) const;

    // --- Several keys at once: Batch ----------------------------------------------------------
    BatchErrors multipleSetImpl(NodeValue* first, NodeValue* last, std::string const& level,
                                bool rethrow) override;
    BatchErrors multipleValidateImpl(NodeValue* first, NodeValue* last,
                                     bool rethrow) const override;
    void multipleValidateWithLock(detail::HeldLock const& lock, NodeValue* first,
                                  NodeValue const* last, bool rethrow, BatchErrors& errors) const;

    // --- The rules that a node carries: SettingsImplRules.cpp, by way of KeyRules --------------
    boost::optional<unsigned long> getDataTypeIndex(std::string const& name) const override;
    boost::optional<unsigned long> getDataTypeIndexInternal() const;
    void setDataTypeIndex(unsigned long index);
    void setDataTypeIndexInternal(unsigned long index);
    SettingsKeyMetaData<boost::any> getAnyMetaData(std::string const& name) const override;
    SettingsKeyMetaData<boost::any> getKeyMetaData() const;
    void setMetaData(SettingsKeyMetaData<boost::any> const& metaData);
    Validator const& getValidator() const override;
    void setValidator(Validator const& validator) override;
    Validator getValidatorToUse() const;
    Validator getValidatorFromParentChain(detail::HeldLock const& lock) const;
    RunTimeDefault const& getRunTimeDefault() const;
    void setRunTimeDefault(RunTimeDefault const& runTimeDefault);
    void setValueWriterFcnInternal(ValueWriterFcn writer);
    void setValidateValueTypeFunc(ValueTypeChecker checker);
    void setValueArraySizeValidator(ValueArraySizeValidator const& sizes);
    boost::optional<ValueArraySizeValidator> getValueArraySizeValidator() const;
    void initSetters(boost::any const& value) const;

    // --- Attaching and removing: SettingsImplEdits.cpp, by way of NodeEdits --------------------
    /// True for an entry of a child map whose name equals the held one without regard to case.
    class SettingsNamingRule {
    public:
        explicit SettingsNamingRule(std::string name) : name_(std::move(name)) {}
        bool operator()(ChildMap::value_type const& entry) const;

    private:
        std::string name_;
    };
    void setParent(boost::shared_ptr<Settings> const& parent) override;
    /// Attaches without validation, event or file: for nodes that no other thread can reach. A
    /// child that comes under the tree root this way is loaded from its files when first touched.
    void setParentInternal(boost::shared_ptr<SettingsImpl> const& parent);
    void setParentImpl(UpgradeLock& lock, boost::shared_ptr<SettingsImpl> const& parent,
                       bool validate);
    void setParentWithLock(detail::HeldLock const& lock,
                           boost::shared_ptr<SettingsImpl> const& parent);
    void addToChildMapWithLock(detail::HeldLock const& lock,
                               boost::shared_ptr<SettingsImpl> const& child);
    void removeNode(std::string const& name) override;
    void removeKey(std::string const& name) override;
    void removeNodeImpl(boost::shared_ptr<SettingsImpl> const& child);
    /// True if `child` was there and is gone.
    bool removeNodeImplWithLock(UpgradeLock& lock, boost::shared_ptr<SettingsImpl> const& child);
    void resetParent() { content_.parent.reset(); }
    std::vector<SettingsLevel const*> getLevelToUpdate(detail::HeldLock const& lock,
                                                       bool checkWritable) const;
    void getlevelsContainValue(detail::HeldLock const& lock, std::set<std::string>& levels) const;
    /// Strikes the levels that can't be modified; true if there was none. Deletes no file.
    static bool tryToDeleteFiles(std::set<std::string>& levelNames);

    // --- Events: NodeEvents -------------------------------------------------------------------
    using Settings::addListener;
    /// Reports `node` as added to or removed from this one. Event is one of the two node events.
    template <class Event>
    void fireSettingsEventWithLock(detail::HeldLock const& lock,
                                   boost::shared_ptr<SettingsImpl const> const& node) const;
    template <class Event>
    ustring createEventIdentifier(detail::HeldLock const& lock) const;
    /// Appends this node's identifier and those of its ancestors, the root included.
    template <class Event>
    void createEventTypeOnNode(detail::HeldLock const& lock, std::vector<ustring>& tags) const;

    // --- Load and save: SettingsImplFiles.cpp, by way of LoadAndSave --------------------------
    void loadIfNotInitializedYet();
    void loadIfNotInitializedYet() const;
    /// The default loader; in persistence/ProductLoader.cpp.
    void loadSettingsOnce(ustring& errors);
    /// Takes over what was loaded. Called inside the load: until that ends, no other thread looks
    /// at this node's content, so that no lock is needed (a caller may hold it already).
    void acceptChildren(SettingsImpl& loaded);
    void updateSettingsFile(std::string const& level);
    void saveThisSubTree(std::string const& level);

    // --- Merge: LiveMerge (SettingsImplEdits.cpp), MergeEngine --------------------------------
    void mergeDescendants(boost::shared_ptr<Settings const> const& source,
                          std::string const& level) override;
    boost::shared_ptr<SettingsImpl> clone() const;
    boost::shared_ptr<SettingsImpl> cloneSelf() const;
    /// Folds one parsed file into a copy of `target`; failures that a bad file can cause are
    /// appended to `errors`.
    static boost::shared_ptr<SettingsImpl> mergeSettingsObject(
        boost::shared_ptr<SettingsImpl> const& target, boost::shared_ptr<SettingsImpl> const& src,
        std::string const& levelName, bool* firstMergeDone, ustring& errors,
        ustring const& fileName);

    // --- Export: persistence/SettingsImplExport.cpp, by way of SettingsExport and FactoryFile -
    static void exportSettingsImpl(std::vector<boost::shared_ptr<Settings const>> const& nodes,
                                   ustring const& path, std::string const& levelName);
    void exportPreCheck(detail::HeldLock const& lock, ustring const& path) const;
    static void createSettingsFileImpl(boost::shared_ptr<SettingsImpl const> const& node,
                                       ustring const& path, unsigned int version);

    // --- Writer: persistence/writer/SettingsImplWriter.cpp, by way of TreeWriter --------------
    template <bool Leaf>
    struct FilterLeafNode {
        bool operator()(ChildMap::value_type const& entry) const {
            return entry.second->content_.isLeaf == Leaf;
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
    /// Calls `function` with each child that the filter takes.
    template <class Filter>
    void writeSettingsByGroup(boost::function1<void, SettingsImpl const*> const& function) const {
        for (auto const& entry : content_.visibleChildren()) {
            if (Filter()(entry)) function(entry.second.get());
        }
    }
    bool shouldWriteRules(detail::HeldLock const& lock, std::string const& level) const;

private:
    detail::NodeContent content_;
};

}  // namespace settings::core
