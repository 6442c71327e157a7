#pragma once

#include <settingscore/host/UString.hpp>

namespace settings::core {

/// The value of a text in a settings file, for each of the twelve element types. It depends on no
/// locale.
///
/// | type             | text                                                                    |
/// |------------------|-------------------------------------------------------------------------|
/// | string           | any, as it stands                                                       |
/// | bool             | "true" and "1" are true, anything else is false                         |
/// | integers         | decimal digits behind an optional sign; "-" negates modulo the width    |
/// | float and double | what the host reads as a number that is not zero, whatever follows it;  |
/// |                  | else a whole number text, "nan", "inf" or "infinity"                    |
///
/// This is the grammar of files; conversions between values have another one.
template <class T>
class ValueConverter {
public:
    /// Refers to the text, which has to live as long.
    explicit ValueConverter(ustring const& text) : text_(text) {}

    /// @throws ZENBAR::settings::core::XMLParseErrorWrongValueForGivenType for a text that is no
    ///         value of the type; boost::numeric::positive_overflow and negative_overflow for a
    ///         number beyond 8 bits that fits into 16
    T input() const;

private:
    ustring const& text_;
};

}  // namespace settings::core
