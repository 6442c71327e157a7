#include <settingscore/tree/KeyRules.hpp>

#include <mutex>

#include <settingscore/rules/ValueType.hpp>
#include <settingscore/tree/LoadAndSave.hpp>
#include <settingscore/tree/SettingsImpl.hpp>
#include <settingscore/value/AnyBridge.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core::detail {

namespace {

std::mutex rulesMutex;
using RulesLock = std::lock_guard<std::mutex>;

SettledRules const& nothingSettled() {
    static auto const& none = neverDestroyed<SettledRules>();
    return none;
}

}  // namespace

template <class Read>
auto KeyRules::read(Read const& read) const {
    if (isComplete_.load(std::memory_order_acquire)) return read(*rules_);
    RulesLock const lock(rulesMutex);
    return read(rules_ ? *rules_ : nothingSettled());
}

template <class Change>
void KeyRules::change(Change const& change) const {
    if (!rules_) {
        rules_ = std::make_shared<SettledRules>();
    } else if (rules_.use_count() > 1) {
        rules_ = std::make_shared<SettledRules>(*rules_);  // What others share is left to them.
    }
    change(*rules_);
    isComplete_.store(rules_->isComplete(), std::memory_order_release);
}

KeyRules::KeyRules(KeyRules const& other) { takeOver(other); }

SettledRules KeyRules::copy() const {
    return read([](SettledRules const& rules) { return rules; });
}

boost::optional<ValueArraySizeValidator> KeyRules::sizes() const {
    return read([](SettledRules const& rules) { return rules.sizes; });
}

ValueWriterFcn KeyRules::writer() const {
    return read([](SettledRules const& rules) { return rules.writer.value_or(nullptr); });
}

boost::optional<unsigned long> KeyRules::typeIndex() const {
    return read([](SettledRules const& rules) { return rules.typeIndex; });
}

bool KeyRules::isTyped() const {
    return read([](SettledRules const& rules) { return rules.typeIndex || rules.typeChecker; });
}

SettledRules const& KeyRules::settle(boost::any const& value, SettingsImpl const& key) const {
    if (isComplete_.load(std::memory_order_acquire)) return *rules_;

    namespace boostany = settingscore::boostany;
    TypeValidatorSetter checker;
    ArraySizeValidatorSetter bounds(key.shared_from_this());
    TypeIndexSetter index;
    SettledRules fromValue;
    fromValue.typeChecker = boostany::applyVisitor(checker, value, true);
    fromValue.sizes = boostany::applyVisitor(bounds, value, true);
    if (ValueWriterFcn const found = LoadAndSave::writerFor(value)) fromValue.writer = found;
    fromValue.typeIndex = boostany::applyVisitor(index, value, true);

    // Filled at once, so that of two first values one fixes the rules whole.
    RulesLock const lock(rulesMutex);
    // Whoever saw them complete reads them without the lock: they are not touched any more.
    if (isComplete_) return *rules_;
    change([&fromValue](SettledRules& own) {
        if (!own.typeChecker) own.typeChecker = fromValue.typeChecker;
        if (!own.sizes) own.sizes = fromValue.sizes;
        if (!own.writer) own.writer = fromValue.writer;
        if (!own.typeIndex) own.typeIndex = fromValue.typeIndex;
    });
    return *rules_;
}

void KeyRules::takeOver(KeyRules const& other) {
    if (other.isComplete_.load(std::memory_order_acquire)) {
        rules_ = other.rules_;
        isComplete_.store(true, std::memory_order_release);
        return;
    }
    RulesLock const lock(rulesMutex);
    rules_ = other.rules_;
    isComplete_.store(rules_ && rules_->isComplete(), std::memory_order_release);
}

void KeyRules::setTypeChecker(ValueTypeChecker checker) {
    change([&](SettledRules& own) { own.typeChecker = checker; });
}

void KeyRules::setSizes(ValueArraySizeValidator const& bounds) {
    change([&](SettledRules& own) { own.sizes = bounds; });
}

void KeyRules::setWriter(ValueWriterFcn function) {
    change([&](SettledRules& own) { own.writer = function; });
}

void KeyRules::setTypeIndex(unsigned long index) {
    change([&](SettledRules& own) { own.typeIndex = index; });
}

void KeyRules::forgetKey() {
    if (!rules_ || !rules_->sizes) return;
    change([](SettledRules& own) {
        own.sizes = ValueArraySizeValidator(own.sizes->maxArrSize(), own.sizes->minArrSize());
    });
}

void KeyRules::shareThrough(RulesPool& pool) {
    if (isComplete_) rules_ = pool.sameAs(rules_);
}

RulesPool::Shared const& RulesPool::sameAs(Shared const& rules) {
    Key const key(*rules->typeChecker, *rules->writer, *rules->typeIndex,
                  rules->sizes->maxArrSize(), rules->sizes->minArrSize());
    return known_.emplace(key, rules).first->second;
}

}  // namespace settings::core::detail
