// The rules that a node carries: validator, metadata, runtime default, and what a key settles once
// about its values.

#include <settingscore/errors/TreeExceptions.hpp>
#include <settingscore/tree/NodeView.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

using detail::ExclusiveTreeLock;
using detail::HeldLock;
using detail::NodeView;
using detail::SharedTreeLock;
using detail::UpgradeTreeLock;

// --- What a key settles once ------------------------------------------------------------------

void SettingsImpl::initSetters(boost::any const& value) const {
    content_.rules.settle(value, *this);
}

boost::optional<unsigned long> SettingsImpl::getDataTypeIndex(std::string const& name) const {
    loadIfNotInitializedYet();
    SharedTreeLock const lock;
    SettingsImpl const* const child = NodeView(*this, lock).child(name);
    if (!child) throw exception::NoSuchKey(shared_from_this(), name);
    if (!child->content_.isLeaf) throw exception::NotAKeyName(shared_from_this(), name);
    return child->getDataTypeIndexInternal();
}

boost::optional<unsigned long> SettingsImpl::getDataTypeIndex() const {
    loadIfNotInitializedYet();
    SharedTreeLock const lock;
    return getDataTypeIndexInternal();
}

boost::optional<unsigned long> SettingsImpl::getDataTypeIndexInternal() const {
    return content_.rules.typeIndex();
}

void SettingsImpl::setDataTypeIndex(unsigned long index) {
    UpgradeTreeLock lock;
    ExclusiveTreeLock const exclusive(lock.get());
    setDataTypeIndexInternal(index);
}

void SettingsImpl::setDataTypeIndexInternal(unsigned long index) {
    content_.rules.setTypeIndex(index);
}

void SettingsImpl::setValueWriterFcnInternal(ValueWriterFcn writer) {
    content_.rules.setWriter(writer);
}

void SettingsImpl::setValidateValueTypeFunc(ValueTypeChecker checker) {
    content_.rules.setTypeChecker(checker);
}

void SettingsImpl::setValueArraySizeValidator(ValueArraySizeValidator const& sizes) {
    content_.rules.setSizes(sizes);
}

boost::optional<ValueArraySizeValidator> SettingsImpl::getValueArraySizeValidator() const {
    return content_.rules.sizes();
}

// --- Metadata ---------------------------------------------------------------------------------

SettingsKeyMetaData<boost::any> SettingsImpl::getAnyMetaData(std::string const& name) const {
    loadIfNotInitializedYet();
    SharedTreeLock const lock;
    SettingsImpl const* const child = NodeView(*this, lock).child(name);
    if (!child) throw exception::NoSuchKey(shared_from_this(), name);
    return child->content_.metaData.get();
}

SettingsKeyMetaData<boost::any> SettingsImpl::getKeyMetaData() const {
    SharedTreeLock const lock;
    return content_.metaData.get();
}

// What is replaced is destroyed, and what replaces it is copied, outside the exclusive access.

void SettingsImpl::setMetaData(SettingsKeyMetaData<boost::any> const& metaData) {
    detail::Rare<SettingsKeyMetaData<boost::any>> copy(metaData);
    UpgradeTreeLock lock;
    ExclusiveTreeLock const exclusive(lock.get());
    content_.metaData.swap(copy);
}

// --- Validator --------------------------------------------------------------------------------

Validator const& SettingsImpl::getValidator() const {
    SharedTreeLock const lock;
    return content_.validator.keptPlace();
}

void SettingsImpl::setValidator(Validator const& validator) {
    Validator copy(validator);
    content_.validator.keptPlace();
    UpgradeTreeLock lock;
    ExclusiveTreeLock const exclusive(lock.get());
    content_.validator.swap(copy);
}

Validator SettingsImpl::getValidatorToUse() const {
    SharedTreeLock const lock;
    return getValidatorFromParentChain(lock);
}

Validator SettingsImpl::getValidatorFromParentChain(HeldLock const& lock) const {
    return NodeView(*this, lock).validatorInForce();
}

// --- Runtime default --------------------------------------------------------------------------

void SettingsImpl::setRunTimeDefault(RunTimeDefault const& runTimeDefault) {
    RunTimeDefault copy(runTimeDefault);
    UpgradeTreeLock lock;
    ExclusiveTreeLock const exclusive(lock.get());
    // In its place, to which somebody may hold a reference.
    content_.runTimeDefault.edit().swap(copy);
}

RunTimeDefault const& SettingsImpl::getRunTimeDefault() const {
    SharedTreeLock const lock;
    return content_.runTimeDefault.get();
}

}  // namespace settings::core
