#pragma once

#include <exception>
#include <tuple>
#include <typeinfo>
#include <vector>

#include <boost/mpl/list/list30.hpp>
#include <boost/mpl/void.hpp>
#include <settingscore/Export.hpp>
#include <settingscore/value/ValueTraits.hpp>

/// The closed list of the types that a value may have inside its `boost::any`.
///
/// An empty `boost::any` is no value and counts as void. The list names exact types, not sizes:
/// `long`, `unsigned long`, plain `char` and `std::string` are not on it. On this platform
/// `std::int64_t`, `std::uint64_t` and `std::size_t` are `long` types, and so not supported; nor is
/// the reference to a bit that a `std::vector<bool>` gives. Store `long long`,
/// `unsigned long long` and `bool`, or let `makeAny` (MakeAny.hpp) choose.
namespace settingscore::boostany {

#define SETTINGSCORE_SCALAR(type, place, text, wide, word) , type
#define SETTINGSCORE_ARRAY(type, place, text, wide, word) , std::vector<type>

/// The sequence of all types: void, the element types, the vectors of them. A type's place is its
/// index.
using SupportedTypes = boost::mpl::list25<mpl_::void_ SETTINGSCORE_ELEMENT_TYPES(
    SETTINGSCORE_SCALAR) SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ARRAY)>;

namespace detail {
/// The same in a form that is cheap to walk at compile time.
using SupportedTuple = std::tuple<mpl_::void_ SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_SCALAR)
                                      SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ARRAY)>;
}  // namespace detail

#undef SETTINGSCORE_SCALAR
#undef SETTINGSCORE_ARRAY

/// Number of the types, void among them.
inline constexpr unsigned long supportedTypeCount = std::tuple_size_v<detail::SupportedTuple>;

/// Marks, in the place of a type's index, a key whose values are not held to one type.
inline constexpr unsigned long anyTypeIndex = supportedTypeCount;

/// A value holds a type that is not on the list.
class SETTINGSCORE_API UnsupportedAnyType : public std::exception {
public:
    /// For a value that holds `type`.
    explicit UnsupportedAnyType(std::type_info const& type) : type_(&type) {}
    /// The fixed text of the class.
    char const* what() const noexcept override;
    /// The type that the value holds.
    std::type_info const& type() const { return *type_; }

private:
    std::type_info const* type_;
};

namespace detail {

/// A value is of another element type than the one asked for, and no conversion was allowed.
class SETTINGSCORE_API TypeNotMatch : public std::exception {
public:
    char const* what() const noexcept override {
        return "The desired type does not match the current type.";
    }
};

/// An array that has not exactly one element was asked for as a scalar.
class SETTINGSCORE_API EmptyVectorCastToScalar : public std::exception {
public:
    char const* what() const noexcept override {
        return "empty vector cannot be used to initialize a scalar.";
    }
};

}  // namespace detail
}  // namespace settingscore::boostany
