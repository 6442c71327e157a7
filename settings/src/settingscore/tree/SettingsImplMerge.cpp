// Folding one tree into another: always on a private copy first, so that a merge either fits as a
// whole or changes nothing that a user can see.

#include <exception>
#include <stdexcept>
#include <typeinfo>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/persistence/SettingsLevel.hpp>
#include <settingscore/persistence/SettingsLevelManager.hpp>
#include <settingscore/roots/SettingsEvent.hpp>
#include <settingscore/rules/ValueType.hpp>
#include <settingscore/tree/SettingsImpl.hpp>
#include <settingscore/value/AnyBridge.hpp>

namespace settings::core {

namespace boostany = settingscore::boostany;
using detail::ExclusiveTreeLock;
using detail::HeldLock;
using detail::UpgradeTreeLock;

/// An event of the adoption. Listeners may read the tree, so that they are called when the
/// exclusive access is over.
struct SettingsImpl::GatheredEvent {
    enum class Kind { nodeAdded, valueChanged };
    Kind kind;
    boost::shared_ptr<SettingsImpl> parent;
    boost::shared_ptr<SettingsImpl> node;

    void fire(HeldLock const& lock) const {
        if (kind == Kind::nodeAdded) {
            parent->fireSettingsEventWithLock<SettingsAddNodeEvent>(lock, node);
        } else {
            node->fireValueChangeWithLock(lock);
        }
    }

    /// All of them are told of, in order; then the first exception of a listener goes on.
    static void fireAll(HeldLock const& lock, std::vector<GatheredEvent> const& events) {
        std::exception_ptr first;
        for (GatheredEvent const& event : events) {
            try {
                event.fire(lock);
            } catch (...) {
                if (!first) first = std::current_exception();
            }
        }
        if (first) std::rethrow_exception(first);
    }
};

// --- Copies ---------------------------------------------------------------------------------

boost::shared_ptr<SettingsImpl> SettingsImpl::cloneSelf() const {
    if (typeid(*this) != typeid(SettingsImpl)) throw std::bad_cast();
    return boost::make_shared<SettingsImpl>(*this);
}

boost::shared_ptr<SettingsImpl> SettingsImpl::clone() const {
    boost::shared_ptr<SettingsImpl> copy = cloneSelf();
    for (auto const& entry : childMap()) {
        SettingsImpl const& child = *entry.second;
        boost::shared_ptr<SettingsImpl> const childCopy = child.clone();
        childCopy->setParentInternal(copy);
        if (child.isLeaf_) childCopy->levelValues_ = child.levelValues_;
    }
    return copy;
}

// --- Merge into the live tree -----------------------------------------------------------------

void SettingsImpl::mergeDescendants(boost::shared_ptr<Settings const> const& source,
                                    std::string const& levelName) {
    auto const src = boost::dynamic_pointer_cast<SettingsImpl const>(source);
    if (!src)
        throw std::invalid_argument(
            "mergeDescendants: the source is empty, or not of this library.");
    validateLevelName(levelName);
    checkLevelIsModifiable(levelName);
    loadIfNotInitializedYet();
    {
        // One upgrade lock from the first check to the end of the adoption: what passed the dry run
        // is what is adopted. Readers go on.
        UpgradeTreeLock lock;
        mergeDescendantsPrecheck(lock, src);
        boost::shared_ptr<SettingsImpl> const trial = clone();
        trial->validator_ = getValidatorFromParentChain(lock);
        trial->mergeIntoNode(lock, *src, levelName, false, false);

        std::vector<GatheredEvent> events;
        try {
            ExclusiveTreeLock const exclusive(lock.get());
            adoptNewDescendantsFromSrc(exclusive, *src, levelName, events);
        } catch (...) {
            try {
                GatheredEvent::fireAll(lock, events);
            } catch (...) {
                // The failure of the adoption is the one to tell.
            }
            throw;
        }
        GatheredEvent::fireAll(lock, events);
    }
    saveThisSubTree(levelName);
}

void SettingsImpl::mergeDescendantsPrecheck(
    HeldLock const&, boost::shared_ptr<SettingsImpl const> const& src) const {
    if (isRoot()) throw exception::CannotMergeWithSettingsRoot(src);
    if (isAscendantWithLock(src.get()) || src.get() == this) {
        throw exception::ErrorMergingWithCircularReference(src, sharedThis());
    }
    if (src->isConnectedToTheSettingsTree()) {
        throw exception::CanOnlyMergeTreeNodeWithStandaloneNode(src, sharedThis());
    }
}

void SettingsImpl::adoptNewDescendantsFromSrc(HeldLock const& exclusive, SettingsImpl const& src,
                                              std::string const& levelName,
                                              std::vector<GatheredEvent>& events) {
    for (auto const& entry : src.childMap()) {
        SettingsImpl const& srcChild = *entry.second;
        auto const found = children_.find(entry.first);
        boost::shared_ptr<SettingsImpl> target;
        if (found != children_.end()) {
            target = found->second;
        } else {
            target = srcChild.cloneSelf();
            target->setParentWithLock(exclusive, sharedThis());
            events.push_back({GatheredEvent::Kind::nodeAdded, sharedThis(), target});
        }
        if (srcChild.isLeaf_) {
            target->adoptNewValue(exclusive, srcChild, levelName, events);
        } else {
            target->adoptNewDescendantsFromSrc(exclusive, srcChild, levelName, events);
        }
    }
}

void SettingsImpl::takeShape(KeyRules const& rules, boost::any& value) {
    // The first value of a key comes unchecked, and one of another type stays as it is. Asked
    // beforehand, as the checker's refusal asks the host for its text, which may read the tree.
    auto const elementType = [](unsigned long index) {
        return index > boostany::elementTypeCount ? index - boostany::elementTypeCount : index;
    };
    TypeIndexSetter index;
    ArraySizeGetter size;
    unsigned long const own = boostany::applyVisitor(index, value, true);
    unsigned long const wanted = *rules.dataTypeIndex_;
    bool const isArray = wanted > boostany::elementTypeCount;
    if (wanted == anyTypeIndex || elementType(own) != elementType(wanted)) return;
    if (!isArray && boostany::applyVisitor(size, value, true) != 1) return;
    auto const* const bits = boost::any_cast<std::vector<bool>>(&value);
    if (bits && *rules.valueTypeChecker_ == &validateValueType<bool>) {
        // The one pair that the checker does not convert.
        bool const bit = bits->front();
        value = bit;
        return;
    }
    (*rules.valueTypeChecker_)(value);
}

void SettingsImpl::adoptNewValue(HeldLock const& exclusive, SettingsImpl const& src,
                                 std::string const& levelName, std::vector<GatheredEvent>& events) {
    if (isVoidRuntimeDefault(src.runTimeDefault_.get())) {
        std::size_t const position = SettingsLevelManager::findLevel(levelName)->position();
        boost::any value = src.getCurrentStateWithLock(exclusive, false);
        if (value.empty() || levelValues_.hasValue(position)) return;
        // A key without rules takes them from the value: without a writer it would not be saved.
        KeyRules const& rules = settledRules(value);
        takeShape(rules, value);
        levelValues_.put(position, value);
    } else {
        runTimeDefault_ = src.runTimeDefault_;
        detail::setBelongingLevel(runTimeDefault_.edit(), levelName);
    }
    events.push_back({GatheredEvent::Kind::valueChanged, nullptr, sharedThis()});
}

// --- The engine -----------------------------------------------------------------------------

void SettingsImpl::mergeIntoNode(HeldLock const& lock, SettingsImpl const& src,
                                 std::string const& levelName, bool defining, bool compareNames) {
    bool const isLastLevel = levelName == SettingsLevelManager::getLastLevelName();
    mergePreCheck(lock, src, compareNames, isLastLevel, defining);
    if (isLastLevel || defining) {
        validator_ = src.validator_;
        defaultValidatorMergeCheck(lock, src);
    }
    if (isLeaf_) {
        mergeIntoLeafNode(lock, src, levelName);
    } else {
        mergeIntoNonLeafNode(lock, src, levelName, compareNames);
    }
}

void SettingsImpl::mergePreCheck(HeldLock const&, SettingsImpl const& src, bool compareNames,
                                 bool isLastLevel, bool defining) {
    ustring differences;
    if (isLastLevel || defining) {
        if (!src.visible_) differences += u"visible, ";
        if (!visible_) visible_ = src.visible_;
    }
    if (isLeaf_ != src.isLeaf_) differences += u"isLeaf, ";
    if (compareNames && name_ != src.name_) differences += u"name, ";
    if (!differences.empty()) {
        throw exception::ErrorMergingNodesWithDiffAttr(src.sharedThis(), sharedThis(), differences);
    }
}

void SettingsImpl::defaultValidatorMergeCheck(HeldLock const&, SettingsImpl const& src) {
    takeOverRules(src);
    metaData_ = src.metaData_;
    versionNumber_ = src.versionNumber_;
    readOnly_ = src.readOnly_;
}

void SettingsImpl::mergeIntoLeafNode(HeldLock const& lock, SettingsImpl const& src,
                                     std::string const& levelName) {
    if (!isVoidRuntimeDefault(src.runTimeDefault_.get())) {
        if (!isVoidRuntimeDefault(runTimeDefault_.get())) {
            throw exception::MultipleRuntimeFuncError(sharedThis());
        }
        runTimeDefault_ = src.runTimeDefault_;
        detail::setBelongingLevel(runTimeDefault_.edit(), levelName);
    }
    boost::any value = src.getCurrentStateWithLock(lock, false);
    if (value.empty()) return;
    if (levelValues_.holdsAnyValue()) {
        validateAnyValueWhenMerge(lock, value);
    } else {
        // The first value comes unchecked: definition and value may be of one file.
        initSetters(value);
    }
    std::size_t const position = SettingsLevelManager::findLevel(levelName)->position();
    if (!levelValues_.hasValue(position)) levelValues_.put(position, value);
}

void SettingsImpl::mergeIntoNonLeafNode(HeldLock const& lock, SettingsImpl const& src,
                                        std::string const& levelName, bool compareNames) {
    for (auto const& entry : src.childMap()) {
        SettingsImpl const& srcChild = *entry.second;
        auto const found = children_.find(entry.first);
        if (found != children_.end()) {
            found->second->mergeIntoNode(lock, srcChild, levelName, false, compareNames);
            continue;
        }
        auto const child =
            boost::make_shared<SettingsImpl>(srcChild.name_, srcChild.isLeaf_, srcChild.visible_);
        child->mergeIntoNode(lock, srcChild, levelName, true, compareNames);
        child->setParentWithLock(lock, sharedThis());
    }
}

// --- Merge of a file ------------------------------------------------------------------------

void SettingsImpl::settleOnLevel(SettingsLevel const& level) {
    if (!isLeaf_) {
        for (auto const& entry : children_)
            entry.second->settleOnLevel(level);
        return;
    }
    children_.clear();  // Keys inside keys are not taken over.
    if (auto& sizes = rules_.valueArraySizeValidator_) {
        // As in a copy, whose rule outlives the node that it names.
        sizes = ValueArraySizeValidator(sizes->maxArrSize(), sizes->minArrSize());
    }
    if (!isVoidRuntimeDefault(runTimeDefault_.get())) {
        detail::setBelongingLevel(runTimeDefault_.edit(), level.levelName());
    }
    static std::size_t const parsedPosition = SettingsLevelManager::findLevel("user")->position();
    boost::any value;
    levelValues_.take(parsedPosition, value);
    if (value.empty()) return;
    initSetters(value);
    levelValues_.put(level.position(), value);
}

boost::shared_ptr<SettingsImpl> SettingsImpl::takeFirstFile(
    SettingsImpl const& target, boost::shared_ptr<SettingsImpl> const& parsed,
    SettingsLevel const& level) {
    boost::shared_mutex privateMutex;
    boost::upgrade_lock<boost::shared_mutex> const lock(privateMutex);
    target.cloneSelf()->mergePreCheck(lock, *parsed, true, false, true);
    parsed->settleOnLevel(level);
    return parsed;
}

boost::shared_ptr<SettingsImpl> SettingsImpl::mergeSettingsObject(
    boost::shared_ptr<SettingsImpl> const& target, boost::shared_ptr<SettingsImpl> const& src,
    std::string const& levelName, bool* firstMergeDone, ustring& errors, ustring const& fileName) {
    boost::shared_ptr<SettingsImpl> result = target->clone();
    if (!src) return result;
    // Both trees are private to this thread: the lock is a proof for the checks alone.
    boost::shared_mutex privateMutex;
    boost::upgrade_lock<boost::shared_mutex> const lock(privateMutex);
    try {
        result->mergeIntoNode(lock, *src, levelName, !*firstMergeDone, true);
        *firstMergeDone = true;
    } catch (qf::except::IMsgIDException const& e) {
        result = target;
        errors += fileName + u'\t' + e.GetUnicodeMessageTxt() + u'\n';
    } catch (exception::MultipleRuntimeFuncError const& e) {
        // The copy is sound up to here and stays.
        errors += fileName + u'\t' + qf::i18n::to_ustring(e.what()) + u'\n';
    }
    return result;
}

}  // namespace settings::core
