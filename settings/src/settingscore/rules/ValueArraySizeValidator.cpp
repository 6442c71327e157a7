#include <settingscore/rules/ValueArraySizeValidator.hpp>

#include <settingscore/errors/ValueExceptions.hpp>
#include <settingscore/rules/ValueType.hpp>
#include <settingscore/value/AnyBridge.hpp>

namespace settings::core {

void ValueArraySizeValidator::operator()(boost::any const& value) const {
    ArraySizeGetter const getter;
    unsigned long const size = settingscore::boostany::applyVisitor(getter, value, true);
    if (size >= minArrSize_ && (size <= maxArrSize_ || maxArrSize_ == 0)) return;
    throw exception::DataArraySizeOutOfRange(node_.lock(), minArrSize_, maxArrSize_, size);
}

bool ValueArraySizeValidator::operator==(ValueArraySizeValidator const& other) const {
    if (node_.expired() || other.node_.expired()) return false;
    return maxArrSize_ == other.maxArrSize_ && minArrSize_ == other.minArrSize_;
}

}  // namespace settings::core
