#pragma once

#include <string>
#include <vector>

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/rules/ValueArraySizeValidator.hpp>
#include <settingscore/value/ValueTraits.hpp>

/// What a key settles once about its values: the check of their type, and the visitors that derive
/// type, size and names from a value.
namespace settings::core {

/// Makes `value` hold a T, one of the supported types, if its element type is T's own: one element
/// is wrapped into an array or taken out of one, numbers are never converted. For `void` and
/// `boost::any` it does nothing.
/// @throws ZENBAR::settings::core::DataTypeNotMatch with `value` as it was;
///         settingscore::boostany::UnsupportedAnyType if `value` is off the list of types
template <class T>
void validateValueType(boost::any& value);
template <>
void validateValueType<void>(boost::any& value);
template <>
void validateValueType<boost::any>(boost::any& value);

/// Number of elements; a scalar is one.
class ArraySizeGetter {
public:
    using result_type = unsigned long;

    result_type operator()() const { return 0; }
    template <class T>
    result_type operator()(T const&) const {
        return 1;
    }
    template <class T>
    result_type operator()(std::vector<T> const& values) const {
        return values.size();
    }
};

/// The check that accepts values of the same type.
class TypeValidatorSetter {
public:
    using result_type = void (*)(boost::any&);

    result_type operator()() const { return &validateValueType<void>; }
    template <class T>
    result_type operator()(T const&) const {
        return &validateValueType<T>;
    }
};

/// The size rule that a first value sets for its key: one element for a scalar, at most as many
/// as it has itself for an array, any number if it is empty.
class ArraySizeValidatorSetter {
public:
    using result_type = ValueArraySizeValidator;

    explicit ArraySizeValidatorSetter(boost::shared_ptr<Settings const> const& node)
        : node_(node) {}
    result_type operator()() const { return {node_, 0, 0}; }
    template <class T>
    result_type operator()(T const&) const {
        return {node_, 1, 1};
    }
    template <class T>
    result_type operator()(std::vector<T> const& values) const {
        return {node_, values.size(), 0};
    }

private:
    boost::shared_ptr<Settings const> node_;
};

/// Index of the type in `settingscore::boostany::SupportedTypes`.
class TypeIndexSetter {
public:
    using result_type = unsigned long;

    result_type operator()() const { return 0; }
    template <class T>
    result_type operator()(T const&) const {
        return settingscore::boostany::ValueTraits<T>::index;
    }
};

/// Writes the name of the type, such as "int32" or "array of int32", into a string.
class TypeNameVisitor {
public:
    explicit TypeNameVisitor(std::string& name) : name_(name) {}
    void operator()() const { name_ = "void"; }
    template <class T>
    void operator()(T const&) const {
        name_ = settingscore::boostany::ValueTraits<T>::name;
    }

private:
    std::string& name_;
};

}  // namespace settings::core
