#include <settingscore/rules/ValidationVisitor.hpp>

#include <utility>

#include <boost/variant/apply_visitor.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core::detail {

ValidationVisitor::ValidationVisitor(HeldLock const& lock,
                                     boost::shared_ptr<SettingsImpl const> parent,
                                     boost::shared_ptr<SettingsImpl const> const& key,
                                     boost::any const& value)
    : lock_(lock), current_(key), key_(key), fallback_(std::move(parent)), value_(value) {}

void ValidationVisitor::operator()(boost::mpl::void_ const&) {
    do {
        current_ = current_->getParentImpl();
        if (!current_) current_ = std::move(fallback_);
    } while (current_ && current_->validatorWithLock(lock_).which() == 0);
    if (current_) boost::apply_visitor(*this, current_->validatorWithLock(lock_));
}

template <class V>
void ValidationVisitor::operator()(V const& validator) const {
    validator.invokeValidationFunction(key_->getParentImpl(), key_->nameWithLock(), value_);
}

template void ValidationVisitor::operator()(ZValidator const&) const;
template void ValidationVisitor::operator()(CValidator const&) const;
template void ValidationVisitor::operator()(JValidator const&) const;

}  // namespace settings::core::detail
