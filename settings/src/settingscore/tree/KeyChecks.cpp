#include <settingscore/tree/KeyChecks.hpp>

#include <boost/variant/apply_visitor.hpp>
#include <settingscore/errors/FileExceptions.hpp>
#include <settingscore/errors/TreeExceptions.hpp>
#include <settingscore/errors/ValueExceptions.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/rules/RangeAndChoiceChecker.hpp>
#include <settingscore/rules/ValidationVisitor.hpp>
#include <settingscore/tree/NodeWalk.hpp>
#include <settingscore/value/AnyBridge.hpp>
#include <settingscore/value/TypeName.hpp>

namespace settings::core {

namespace boostany = settingscore::boostany;

namespace detail {

// --- Levels ---------------------------------------------------------------------------------

SettingsLevel const& levelOf(SettingsImpl const& node, std::string const& name) {
    if (SettingsLevel const* const level = SettingsLevelManager::findLevel(name)) return *level;
    std::string supported;
    for (SettingsLevel const& known : SettingsLevelManager::levels()) {
        supported += known.levelName() + ", ";
    }
    supported += '\n';
    throw exception::UnSupportedLevel(node.shared_from_this(), name, supported);
}

SettingsLevel const& modifiableLevelOf(SettingsImpl const& node, std::string const& name) {
    SettingsLevel const& level = levelOf(node, name);
    if (!level.canBeModified()) {
        throw exception::CantModifyValuesOnReadOnlyLevel(node.shared_from_this(), name);
    }
    return level;
}

// --- Values ---------------------------------------------------------------------------------

void checkValue(SettingsImpl const& key, HeldLock const& lock, boost::any& value) {
    NodeView const view(key, lock);
    if (!view.isLeaf()) throw exception::NotAKeyName(view.parent(), view.name());
    if (view.isReadOnly() && view.isConnected()) {
        throw exception::CannotChangeValueForReadOnlySetting(key.shared_from_this());
    }
    checkValueAgainstRules(key, lock, value);
    // Most keys have no validator in force: found out without a copy of the value.
    if (view.hasValidatorInForce()) runValidator(key, lock, view.parent(), value);
}

void checkValueAgainstRules(SettingsImpl const& key, HeldLock const& lock, boost::any& value) {
    if (!boostany::isSupported(value)) {
        throw exception::UnsupportedType(key.shared_from_this(), getReadableName(value.type()));
    }
    NodeContent const& content = key.contentWithLock(lock);
    SettledRules const& rules = content.rules.settle(value, key);
    if (rules.typeIndex != boostany::anyTypeIndex) (*rules.typeChecker)(value);
    (*rules.sizes)(value);
    // Without metadata the checker refuses no value but the empty one.
    auto const& metaData = content.metaData.get();
    if (metaData.empty() && !value.empty()) return;
    RangeAndChoiceChecker checker(key.shared_from_this(), metaData);
    boostany::applyVisitor(checker, value, true);
}

void runValidator(SettingsImpl const& key, HeldLock const& lock,
                  boost::shared_ptr<SettingsImpl const> const& parent, boost::any const& value) {
    ValidationVisitor visitor(lock, parent, key.shared_from_this(), value);
    boost::apply_visitor(visitor, NodeView(key, lock).validator());
}

void checkValuesUnder(SettingsImpl const& node, HeldLock const& lock,
                      boost::shared_ptr<SettingsImpl const> const& parent) {
    // The parent to be is passed down: the chain of a nested key ends at the group that is not
    // attached yet.
    walkTree(node, lock, ChildOrder::byName, [&](NodeView const& view, std::size_t depth) {
        // A node with a rule of its own keeps it.
        if (depth > 0 && view.validator().which() != 0) return false;
        if (!view.isLeaf()) return true;
        for (std::size_t level : LevelValues::byLevelName) {
            if (view.storedValues().hasValue(level)) {
                runValidator(view.node(), lock, parent, *view.storedValues().find(level));
            }
        }
        return false;
    });
}

}  // namespace detail

using detail::HeldLock;
using detail::NodeView;

void SettingsImpl::validateLevelName(std::string const& level) const {
    detail::levelOf(*this, level);
}

void SettingsImpl::validateAnyValueWithLock(HeldLock const& lock, boost::any& value) const {
    detail::checkValue(*this, lock, value);
}

void SettingsImpl::validatePrecheckWithLock(boost::any& value, HeldLock const& lock) const {
    detail::checkValueAgainstRules(*this, lock, value);
}

void SettingsImpl::callValidator(HeldLock const& lock,
                                 boost::shared_ptr<SettingsImpl const> const& parent,
                                 boost::any const& value) const {
    detail::runValidator(*this, lock, parent, value);
}

void SettingsImpl::validateValueBasedOnParentRule(
    HeldLock const& lock, boost::shared_ptr<SettingsImpl const> const& parent) const {
    if (!NodeView(*parent, lock).hasValidatorInForce()) return;
    if (content_.validator.get().which() != 0) return;  // A node with a rule of its own keeps it.
    detail::checkValuesUnder(*this, lock, parent);
}

void SettingsImpl::validateValues(HeldLock const& lock,
                                  boost::shared_ptr<SettingsImpl const> const& parent) const {
    if (!content_.isLeaf && content_.validator.get().which() != 0) return;
    detail::checkValuesUnder(*this, lock, parent);
}

}  // namespace settings::core
