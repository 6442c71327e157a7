#include <settingscore/tree/MergeEngine.hpp>

#include <typeinfo>
#include <utility>
#include <vector>

#include <settingscore/errors/MergeExceptions.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/rules/ValueType.hpp>
#include <settingscore/tree/KeyChecks.hpp>
#include <settingscore/tree/NodeView.hpp>
#include <settingscore/value/AnyBridge.hpp>

namespace settings::core {

namespace boostany = settingscore::boostany;

namespace detail {

namespace {

/// Walks over a source tree in the order of its names, each node with its counterpart in a target.
/// `down(target, sourceChild)` gives the counterpart of a child, or null to leave it out.
template <class Down>
void walkPairs(SettingsImpl& target, SettingsImpl const& source, HeldLock const& lock,
               Down const& down) {
    struct Frame {
        SettingsImpl* target;
        ChildMap::const_iterator next;
        ChildMap::const_iterator end;
    };
    std::vector<Frame> stack;
    auto const enter = [&](SettingsImpl& into, SettingsImpl const& from) {
        ChildMap const& children = NodeView(from, lock).children();
        if (!children.empty()) stack.push_back({&into, children.begin(), children.end()});
    };
    enter(target, source);
    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.next == frame.end) {
            stack.pop_back();
            continue;
        }
        SettingsImpl const& child = *(frame.next++)->second;
        if (SettingsImpl* const counterpart = down(*frame.target, child))
            enter(*counterpart, child);
    }
}

}  // namespace

MergeEngine::MergeEngine(HeldLock const& lock, SettingsLevel const& level, Purpose purpose)
    : lock_(lock),
      level_(level),
      purpose_(purpose),
      isLastLevel_(level.levelName() == SettingsLevelManager::getLastLevelName()) {}

void MergeEngine::mergeIntoNode(SettingsImpl& target, SettingsImpl const& source,
                                bool defining) const {
    // What stands at the top was put together by the caller.
    mergeOne(target, source, defining, true);
    if (target.contentInternal().isLeaf) return;
    walkPairs(target, source, lock_, [this](SettingsImpl& into, SettingsImpl const& child) {
        ChildMap const& children = into.contentInternal().children.get();
        auto const found = children.find(NodeView(child, lock_).name());
        bool const isNew = found == children.end();
        SettingsImpl& counterpart = isNew ? *newChild(into, child) : *found->second;
        mergeOne(counterpart, child, isNew, isNew);
        return counterpart.contentInternal().isLeaf ? nullptr : &counterpart;
    });
}

SettingsImpl* MergeEngine::newChild(SettingsImpl& target, SettingsImpl const& sourceChild) const {
    NodeContent const& source = sourceChild.contentWithLock(lock_);
    auto const child = boost::make_shared<SettingsImpl>(source.name, source.isLeaf, source.visible);
    child->setParentWithLock(lock_, target.shared_from_this());
    return child.get();
}

void MergeEngine::mergeOne(SettingsImpl& target, SettingsImpl const& source, bool defining,
                           bool isNew) const {
    mergePreCheck(target, source, defining);
    NodeContent& own = target.contentInternal();
    if (isLastLevel_ || defining) {
        NodeContent const& from = source.contentWithLock(lock_);
        own.validator = from.validator.get();
        own.rules.takeOver(from.rules);
        own.metaData = from.metaData;
        own.version = from.version;
        own.readOnly = from.readOnly;
    }
    if (own.isLeaf) mergeIntoLeafNode(target, source, isNew);
}

void MergeEngine::mergePreCheck(SettingsImpl& target, SettingsImpl const& source,
                                bool defining) const {
    NodeContent& own = target.contentInternal();
    NodeContent const& from = source.contentWithLock(lock_);
    ustring differences;
    if (isLastLevel_ || defining) {
        if (!from.visible) differences += u"visible, ";
        if (!own.visible) own.visible = from.visible;
    }
    if (own.isLeaf != from.isLeaf) differences += u"isLeaf, ";
    if (purpose_ == Purpose::load && own.name != from.name) differences += u"name, ";
    if (!differences.empty()) {
        throw exception::ErrorMergingNodesWithDiffAttr(source.shared_from_this(),
                                                       target.shared_from_this(), differences);
    }
}

void MergeEngine::mergeIntoLeafNode(SettingsImpl& target, SettingsImpl const& source,
                                    bool isNew) const {
    NodeContent& own = target.contentInternal();
    NodeView const from(source, lock_);
    if (!isVoidRuntimeDefault(from.runTimeDefault())) {
        if (!isVoidRuntimeDefault(own.runTimeDefault.get())) {
            throw exception::MultipleRuntimeFuncError(target.shared_from_this());
        }
        own.runTimeDefault = source.contentWithLock(lock_).runTimeDefault;
        setBelongingLevel(own.runTimeDefault.edit(), level_.levelName());
    }
    boost::any value = from.storedInForce();
    if (value.empty()) return;
    // Of a definition and a value that come together the value is the definition's own affair.
    bool const hasRules = purpose_ == Purpose::trial && !isNew && own.rules.isTyped();
    bool const isFirst = !own.values.holdsAnyValue();
    if (isFirst && hasRules) takeShape(own.rules.settle(value, target), value);
    if (!isFirst || hasRules) {
        checkValue(target, lock_, value);
    } else {
        own.rules.settle(value, target);
    }
    std::size_t const position = level_.position();
    if (!own.values.hasValue(position)) own.values.put(position, value);
}

void takeShape(SettledRules const& rules, boost::any& value) {
    // Asked beforehand, as the checker's refusal asks the host for its text, which may read the
    // tree.
    auto const elementType = [](unsigned long index) {
        return index > boostany::elementTypeCount ? index - boostany::elementTypeCount : index;
    };
    TypeIndexSetter index;
    ArraySizeGetter size;
    unsigned long const own = boostany::applyVisitor(index, value, true);
    unsigned long const wanted = *rules.typeIndex;
    bool const isArray = wanted > boostany::elementTypeCount;
    if (wanted == boostany::anyTypeIndex || elementType(own) != elementType(wanted)) return;
    if (!isArray && boostany::applyVisitor(size, value, true) != 1) return;
    auto const* const bits = boost::any_cast<std::vector<bool>>(&value);
    if (bits && *rules.typeChecker == &validateValueType<bool>) {
        // The one pair that the checker does not convert.
        bool const bit = bits->front();
        value = bit;
        return;
    }
    (*rules.typeChecker)(value);
}

// --- The first file of a product ----------------------------------------------------------------

namespace {

void settleKeyOnLevel(SettingsImpl& key, SettingsLevel const& level, RulesPool& pool) {
    NodeContent& content = key.contentInternal();
    content.children.reset();  // Keys inside keys are not taken over.
    if (!isVoidRuntimeDefault(content.runTimeDefault.get())) {
        setBelongingLevel(content.runTimeDefault.edit(), level.levelName());
    }
    boost::any value;
    content.values.take(SettingsLevelManager::userLevel().position(), value);
    if (!value.empty()) {
        content.rules.settle(value, key);
        content.values.put(level.position(), value);
    }
    content.rules.forgetKey();  // As in a copy, whose rule outlives the node that it names.
    content.rules.shareThrough(pool);
}

}  // namespace

void MergeEngine::takeFirstFile(SettingsImpl const& target, SettingsImpl& parsed,
                                SettingsLevel const& level) {
    // The trees are private to this thread: the lock is a proof for the checks alone.
    boost::shared_mutex unshared;
    boost::upgrade_lock<boost::shared_mutex> const lock(unshared);
    MergeEngine(lock, level, Purpose::load).mergePreCheck(*target.cloneSelf(), parsed, true);
    RulesPool pool;
    std::vector<SettingsImpl*> waiting{&parsed};
    while (!waiting.empty()) {
        SettingsImpl* const node = waiting.back();
        waiting.pop_back();
        if (node->contentInternal().isLeaf) {
            settleKeyOnLevel(*node, level, pool);
        } else {
            for (auto const& entry : node->contentInternal().children.get())
                waiting.push_back(entry.second.get());
        }
    }
}

}  // namespace detail

// --- Copies ---------------------------------------------------------------------------------

boost::shared_ptr<SettingsImpl> SettingsImpl::cloneSelf() const {
    if (typeid(*this) != typeid(SettingsImpl)) throw std::bad_cast();
    return boost::make_shared<SettingsImpl>(*this);
}

boost::shared_ptr<SettingsImpl> SettingsImpl::clone() const {
    boost::shared_ptr<SettingsImpl> copy = cloneSelf();
    // The caller holds the tree lock, or the nodes are its own.
    boost::shared_mutex unshared;
    boost::shared_lock<boost::shared_mutex> const lock(unshared);
    detail::walkPairs(*copy, *this, lock, [](SettingsImpl& into, SettingsImpl const& child) {
        boost::shared_ptr<SettingsImpl> const childCopy = child.cloneSelf();
        childCopy->setParentInternal(into.shared_from_this());
        if (child.content_.isLeaf) childCopy->content_.values = child.content_.values;
        return childCopy.get();
    });
    return copy;
}

// --- A file ---------------------------------------------------------------------------------

detail::MergeEngine::Folded detail::MergeEngine::foldFile(
    boost::shared_ptr<SettingsImpl> const& target,
    boost::shared_ptr<SettingsImpl const> const& source, SettingsLevel const& level, bool defining,
    ustring& errors, ustring const& fileName) {
    boost::shared_ptr<SettingsImpl> const copy = target->clone();
    boost::shared_mutex unshared;
    boost::upgrade_lock<boost::shared_mutex> const lock(unshared);
    try {
        MergeEngine(lock, level, Purpose::load).mergeIntoNode(*copy, *source, defining);
        return {copy, true};
    } catch (qf::except::IMsgIDException const& e) {
        errors += fileName + u'\t' + e.GetUnicodeMessageTxt() + u'\n';
        return {target, false};
    } catch (exception::MultipleRuntimeFuncError const& e) {
        // The copy is sound up to here and stays.
        errors += fileName + u'\t' + qf::i18n::to_ustring(e.what()) + u'\n';
        return {copy, false};
    }
}

boost::shared_ptr<SettingsImpl> SettingsImpl::mergeSettingsObject(
    boost::shared_ptr<SettingsImpl> const& target, boost::shared_ptr<SettingsImpl> const& src,
    std::string const& levelName, bool* firstMergeDone, ustring& errors, ustring const& fileName) {
    if (!src) return target->clone();
    auto const folded = detail::MergeEngine::foldFile(
        target, src, detail::levelOf(*target, levelName), !*firstMergeDone, errors, fileName);
    if (folded.isWhole) *firstMergeDone = true;
    return folded.result;
}

}  // namespace settings::core
