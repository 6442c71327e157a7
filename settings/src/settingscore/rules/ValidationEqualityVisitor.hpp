#pragma once

#include <boost/mpl/void.hpp>
#include <boost/variant/apply_visitor.hpp>
#include <settingscore/rules/Validator.hpp>

namespace settings::core {

/// Compares the alternative that a variant holds with a given one of type T.
template <class T>
class ValidationEqualityHelperVisitor {
public:
    using result_type = bool;

    explicit ValidationEqualityHelperVisitor(T const& expected) : expected_(expected) {}
    bool operator()(T const& actual) const { return actual == expected_; }
    template <class Other>
    bool operator()(Other const&) const {
        return false;
    }

private:
    T const& expected_;
};

/// Compares the validator that it is applied to with another.
class ValidationEqualityVisitor {
public:
    using result_type = bool;

    explicit ValidationEqualityVisitor(Validator const& other) : other_(other) {}
    bool operator()(boost::mpl::void_ const&) const { return other_.which() == 0; }
    template <class V>
    bool operator()(V const& validator) const {
        return boost::apply_visitor(ValidationEqualityHelperVisitor<V>(validator), other_);
    }

private:
    Validator const& other_;
};

}  // namespace settings::core
