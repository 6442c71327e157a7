#pragma once

#include <type_traits>
#include <vector>

#include <boost/any.hpp>
#include <settingscore/Export.hpp>
#include <settingscore/value/SupportedTypes.hpp>

namespace settingscore::boostany {

/// Reads `value` as the supported type T, whatever supported type it holds.
///
/// With `allowConversion` false only the shape may change: a scalar becomes an array of one
/// element, an array of one element a scalar; the element type has to be T's own already. (One
/// exception: a `std::vector<bool>` of one element does not become a `bool`.) With
/// `allowConversion` true elements are converted as well: numbers with a check of the range, a
/// floating number to an integer by truncation (a NaN to the lowest integer of the type), anything
/// to text and back in the forms of NumberText.hpp.
///
/// There is an instance for each of the 24 types; `std::int64_t`, `std::uint64_t` and `std::size_t`
/// are `long` types, for which there is none: ask for `long long` or `unsigned long long`.
///
/// @throws std::exception itself for an empty value; UnsupportedAnyType; detail::TypeNotMatch if
///         the element type differs and no conversion was allowed; detail::EmptyVectorCastToScalar
///         for an array of any other length than one; boost::numeric::positive_overflow and
///         negative_overflow; boost::bad_lexical_cast for a text that does not parse
template <class T>
SETTINGSCORE_API std::enable_if_t<isValueType<T>, T> get(boost::any const& value,
                                                         bool allowConversion);

#define SETTINGSCORE_ROW(type, place, text, wide, word)      \
    extern template type get<type>(boost::any const&, bool); \
    extern template std::vector<type> get<std::vector<type>>(boost::any const&, bool);
SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ROW)
#undef SETTINGSCORE_ROW

}  // namespace settingscore::boostany
