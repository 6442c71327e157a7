#pragma once

#include <string>
#include <string_view>

#include <settingscore/value/ValueTraits.hpp>

/// The text of a value and back, for texts that are read by machines as well. No locale plays a
/// part, neither the process's nor the global one of the streams. T is an element type.
namespace settingscore::boostany {

/// The shortest exact text of integers; "0" or "1" of a `bool`; 9 significant digits of a `float`
/// and 17 of a `double`, as "%.*g" gives them; "nan" and "inf" with "-" before them if the sign bit
/// is set. 8-bit integers are numbers here. A string is narrowed. What it gives, `lexicalParse`
/// reads back as the same value.
template <class T>
std::string lexicalText(T const& value);

/// Reads a text as a T. The whole text has to be the number: no blank before or behind it, nothing
/// behind a NUL.
///
/// - Integers are decimal digits with an optional sign; "-" makes an unsigned one wrap around.
///   8-bit ones are read with 16 bits first, and the result has to fit.
/// - A `bool` is "0" or "1", with zeros and a "+" before it; "-" only before zeros.
/// - A `float` or `double` is a decimal number with an optional exponent; one that is too small
///   becomes a subnormal number or zero. "inf", "infinity", "nan" and "nan(...)" in any case, with
///   an optional sign, are read too.
/// - A string is widened.
///
/// @throws boost::bad_lexical_cast if the text is no T or too large for one;
///         boost::numeric::positive_overflow or negative_overflow for an 8-bit integer out of range
template <class T>
T lexicalParse(std::string_view text);

#define SETTINGSCORE_ROW(type, place, text, wide, word)               \
    extern template std::string lexicalText<type>(type const& value); \
    extern template type lexicalParse<type>(std::string_view);
SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ROW)
#undef SETTINGSCORE_ROW

}  // namespace settingscore::boostany
