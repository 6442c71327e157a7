// What rules ask of nodes.

#include <utility>

#include <boost/variant/apply_visitor.hpp>
#include <settingscore/rules/RangeAndChoiceChecker.hpp>
#include <settingscore/rules/ValidationVisitor.hpp>
#include <settingscore/tree/NodeView.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core::detail {

RangeAndChoiceChecker::RangeAndChoiceChecker(boost::shared_ptr<SettingsImpl const> const& node,
                                             HeldLock const& lock)
    : RangeAndChoiceChecker(node, NodeView(*node, lock).metaData()) {}

ValidationVisitor::ValidationVisitor(HeldLock const& lock,
                                     boost::shared_ptr<SettingsImpl const> parent,
                                     boost::shared_ptr<SettingsImpl const> const& key,
                                     boost::any const& value)
    : lock_(lock), current_(key), key_(key), fallback_(std::move(parent)), value_(value) {}

void ValidationVisitor::operator()(boost::mpl::void_ const&) {
    do {
        current_ = current_->getParentImpl();
        if (!current_) current_ = std::move(fallback_);
    } while (current_ && NodeView(*current_, lock_).validator().which() == 0);
    if (current_) boost::apply_visitor(*this, NodeView(*current_, lock_).validator());
}

template <class V>
void ValidationVisitor::operator()(V const& validator) const {
    validator.invokeValidationFunction(key_->getParentImpl(), key_->getName(), value_);
}

template void ValidationVisitor::operator()(ZValidator const&) const;
template void ValidationVisitor::operator()(CValidator const&) const;
template void ValidationVisitor::operator()(JValidator const&) const;

}  // namespace settings::core::detail
