// The rules that a node carries: validator, metadata, runtime default, and what a key settles once
// about its values.

#include <mutex>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/persistence/writer/ValueWriter.hpp>
#include <settingscore/rules/ValueType.hpp>
#include <settingscore/tree/SettingsImpl.hpp>
#include <settingscore/value/AnyBridge.hpp>

namespace settings::core {

using detail::ExclusiveTreeLock;
using detail::HeldLock;
using detail::SharedTreeLock;
using detail::UpgradeTreeLock;

namespace {

/// Guards the settled rules of all keys while const operations fill them under shared locks; those
/// that are complete are read without it. Innermost: nothing is locked and nothing is called under
/// it.
std::mutex rulesMutex;
using RulesLock = std::lock_guard<std::mutex>;

}  // namespace

template <class Read>
auto SettingsImpl::readRules(Read const& read) const {
    if (rulesAreComplete_.load(std::memory_order_acquire)) return read(rules_);
    RulesLock const lock(rulesMutex);
    return read(rules_);
}

SettingsImpl::KeyRules SettingsImpl::copyOfRules() const {
    return readRules([](KeyRules const& rules) { return rules; });
}

void SettingsImpl::initSetters(boost::any const& value) const { settledRules(value); }

template <class Change>
void SettingsImpl::changeRules(Change const& change) const {
    change(rules_);
    rulesAreComplete_.store(rules_.isComplete(), std::memory_order_release);
}

void SettingsImpl::takeOverRules(SettingsImpl const& src) {
    changeRules([rules = src.copyOfRules()](KeyRules& own) { own = rules; });
}

SettingsImpl::KeyRules const& SettingsImpl::settledRules(boost::any const& value) const {
    if (rulesAreComplete_.load(std::memory_order_acquire)) return rules_;

    namespace boostany = settingscore::boostany;
    TypeValidatorSetter checker;
    ArraySizeValidatorSetter sizes(boost::const_pointer_cast<SettingsImpl>(sharedThis()));
    ValueWritterSetter writer;
    TypeIndexSetter index;
    KeyRules fromValue;
    fromValue.valueTypeChecker_ = boostany::applyVisitor(checker, value, true);
    fromValue.valueArraySizeValidator_ = boostany::applyVisitor(sizes, value, true);
    fromValue.valueWriter_ = boostany::applyVisitor(writer, value, true);
    fromValue.dataTypeIndex_ = boostany::applyVisitor(index, value, true);

    // Filled at once, so that of two first values one fixes the rules whole.
    RulesLock const lock(rulesMutex);
    changeRules([&fromValue](KeyRules& own) {
        if (!own.valueTypeChecker_) own.valueTypeChecker_ = fromValue.valueTypeChecker_;
        if (!own.valueArraySizeValidator_) {
            own.valueArraySizeValidator_ = fromValue.valueArraySizeValidator_;
        }
        if (!own.valueWriter_) own.valueWriter_ = fromValue.valueWriter_;
        if (!own.dataTypeIndex_) own.dataTypeIndex_ = fromValue.dataTypeIndex_;
    });
    return rules_;
}

boost::optional<unsigned long> SettingsImpl::getDataTypeIndex(std::string const& name) const {
    loadIfNotInitializedYet();
    SharedTreeLock const lock;
    SettingsImpl const* const child = findChild(name);
    if (!child) throw exception::NoSuchKey(sharedThis(), name);
    if (!child->isLeaf_) throw exception::NotAKeyName(sharedThis(), name);
    return child->getDataTypeIndexInternal();
}

boost::optional<unsigned long> SettingsImpl::getDataTypeIndex() const {
    loadIfNotInitializedYet();
    SharedTreeLock const lock;
    return getDataTypeIndexInternal();
}

boost::optional<unsigned long> SettingsImpl::getDataTypeIndexInternal() const {
    return readRules([](KeyRules const& rules) { return rules.dataTypeIndex_; });
}

void SettingsImpl::setDataTypeIndex(unsigned long index) {
    UpgradeTreeLock lock;
    ExclusiveTreeLock const exclusive(lock.get());
    setDataTypeIndexInternal(index);
}

void SettingsImpl::setDataTypeIndexInternal(unsigned long index) {
    changeRules([&](KeyRules& own) { own.dataTypeIndex_ = index; });
}

void SettingsImpl::setValueWriterFcnInternal(ValueWriterFcn writer) {
    changeRules([&](KeyRules& own) { own.valueWriter_ = writer; });
}

SettingsImpl::ValueWriterFcn SettingsImpl::getValueWriterFcn() const {
    return readRules([](KeyRules const& rules) { return rules.valueWriter_.value_or(nullptr); });
}

void SettingsImpl::setValidateValueTypeFunc(ValueTypeChecker checker) {
    changeRules([&](KeyRules& own) { own.valueTypeChecker_ = checker; });
}

void SettingsImpl::setValueArraySizeValidator(ValueArraySizeValidator const& sizes) {
    changeRules([&](KeyRules& own) { own.valueArraySizeValidator_ = sizes; });
}

boost::optional<ValueArraySizeValidator> SettingsImpl::getValueArraySizeValidator() const {
    return readRules([](KeyRules const& rules) { return rules.valueArraySizeValidator_; });
}

SettingsKeyMetaData<boost::any> SettingsImpl::getAnyMetaData(std::string const& name) const {
    loadIfNotInitializedYet();
    SharedTreeLock const lock;
    SettingsImpl const* const child = findChild(name);
    if (!child) throw exception::NoSuchKey(sharedThis(), name);
    return child->metaData_.get();
}

SettingsKeyMetaData<boost::any> SettingsImpl::getKeyMetaData() const {
    SharedTreeLock const lock;
    return metaData_.get();
}

void SettingsImpl::setMetaData(SettingsKeyMetaData<boost::any> const& metaData) {
    detail::Rare<SettingsKeyMetaData<boost::any>> copy(metaData);
    UpgradeTreeLock lock;
    ExclusiveTreeLock const exclusive(lock.get());
    metaData_.swap(copy);
}

void SettingsImpl::setMetaDataInternal(SettingsKeyMetaData<boost::any> const& metaData) {
    metaData_.edit() = metaData;
}

Validator const& SettingsImpl::getValidator() const {
    SharedTreeLock const lock;
    return validator_;
}

void SettingsImpl::setValidator(Validator const& validator) {
    Validator copy(validator);
    UpgradeTreeLock lock;
    ExclusiveTreeLock const exclusive(lock.get());
    validator_.swap(copy);
}

void SettingsImpl::setValidatorInternal(Validator const& validator) { validator_ = validator; }

Validator SettingsImpl::getValidatorToUse() const {
    SharedTreeLock const lock;
    return getValidatorFromParentChain(lock);
}

bool SettingsImpl::hasValidatorFromParentChain(HeldLock const&) const {
    if (validator_.which() != 0) return true;
    for (auto ancestor = getParentImpl(); ancestor; ancestor = ancestor->getParentImpl()) {
        if (ancestor->validator_.which() != 0) return true;
    }
    return false;
}

Validator SettingsImpl::getValidatorFromParentChain(HeldLock const&) const {
    if (validator_.which() != 0) return validator_;
    for (auto ancestor = getParentImpl(); ancestor; ancestor = ancestor->getParentImpl()) {
        if (ancestor->validator_.which() != 0) return ancestor->validator_;
    }
    return Validator();
}

void SettingsImpl::setRunTimeDefault(RunTimeDefault const& runTimeDefault) {
    detail::Rare<RunTimeDefault> copy(runTimeDefault);
    UpgradeTreeLock lock;
    ExclusiveTreeLock const exclusive(lock.get());
    runTimeDefault_.swap(copy);
}

void SettingsImpl::setRunTimeDefaultInternal(RunTimeDefault const& runTimeDefault) {
    runTimeDefault_.edit() = runTimeDefault;
}

RunTimeDefault const& SettingsImpl::getRunTimeDefault() const {
    SharedTreeLock const lock;
    return runTimeDefault_.get();
}

}  // namespace settings::core
