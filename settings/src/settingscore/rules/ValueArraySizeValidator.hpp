#pragma once

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

namespace settings::core {

class Settings;

/// Bounds on the number of elements of a key's values. A scalar counts as one element, an empty
/// value as none. The maximum comes before the minimum in all constructors.
class ValueArraySizeValidator {
public:
    /// Exactly one element.
    ValueArraySizeValidator() = default;
    ValueArraySizeValidator(unsigned long maxSize, unsigned long minSize)
        : maxArrSize_(maxSize), minArrSize_(minSize) {}
    /// `node` is the key, to be named in errors; it is neither looked into nor kept alive.
    ValueArraySizeValidator(boost::shared_ptr<Settings const> const& node, unsigned long maxSize,
                            unsigned long minSize)
        : node_(node), maxArrSize_(maxSize), minArrSize_(minSize) {}

    /// 0 means no upper bound.
    unsigned long maxArrSize() const { return maxArrSize_; }
    unsigned long minArrSize() const { return minArrSize_; }

    /// @throws exception::DataArraySizeOutOfRange; its node is empty if the key is gone
    void operator()(boost::any const& value) const;

    /// True if the bounds are equal and both keys (not necessarily the same one) are alive: two
    /// validators without a key are never equal.
    bool operator==(ValueArraySizeValidator const& other) const;

private:
    boost::weak_ptr<Settings const> node_;
    unsigned long maxArrSize_ = 1;
    unsigned long minArrSize_ = 1;
};

}  // namespace settings::core
