#include <settingscore/tree/KeyRules.hpp>

#include <mutex>

#include <settingscore/rules/ValueType.hpp>
#include <settingscore/tree/LoadAndSave.hpp>
#include <settingscore/tree/SettingsImpl.hpp>
#include <settingscore/value/AnyBridge.hpp>

namespace settings::core::detail {

namespace {

std::mutex rulesMutex;
using RulesLock = std::lock_guard<std::mutex>;

}  // namespace

template <class Read>
auto KeyRules::read(Read const& read) const {
    if (isComplete_.load(std::memory_order_acquire)) return read(rules_);
    RulesLock const lock(rulesMutex);
    return read(rules_);
}

template <class Change>
void KeyRules::change(Change const& change) const {
    change(rules_);
    isComplete_.store(rules_.isComplete(), std::memory_order_release);
}

KeyRules::KeyRules(KeyRules const& other)
    : rules_(other.copy()), isComplete_(rules_.isComplete()) {}

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

SettledRules const& KeyRules::settle(boost::any const& value, SettingsImpl const& key) const {
    if (isComplete_.load(std::memory_order_acquire)) return rules_;

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
    change([&fromValue](SettledRules& own) {
        if (!own.typeChecker) own.typeChecker = fromValue.typeChecker;
        if (!own.sizes) own.sizes = fromValue.sizes;
        if (!own.writer) own.writer = fromValue.writer;
        if (!own.typeIndex) own.typeIndex = fromValue.typeIndex;
    });
    return rules_;
}

void KeyRules::takeOver(KeyRules const& other) {
    change([rules = other.copy()](SettledRules& own) { own = rules; });
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
    if (auto& sizes = rules_.sizes) {
        sizes = ValueArraySizeValidator(sizes->maxArrSize(), sizes->minArrSize());
    }
}

}  // namespace settings::core::detail
