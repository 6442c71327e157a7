#pragma once

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <boost/numeric/conversion/cast.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/value/NumberText.hpp>
#include <settingscore/value/SupportedTypes.hpp>

namespace settingscore::boostany {

/// The text conversion of one value: between a narrow string and an element.
template <class To, class From>
struct CustomerizeCast;

template <class To>
struct CustomerizeCast<To, std::string> {
    To operator()(std::string const& text) const { return lexicalParse<To>(text); }
};
template <>
struct CustomerizeCast<std::string, std::vector<bool>::reference> {
    std::string operator()(std::vector<bool>::reference const& bit) const {
        return lexicalText(static_cast<bool>(bit));
    }
};

namespace detail {

/// The value of one element as a T, whatever element type E is.
template <class T, class E>
T castElement(E const& from) {
    if constexpr (std::is_same_v<E, T>) {
        return from;
    } else if constexpr (std::is_same_v<E, std::vector<bool>::reference>) {
        // Through its text, which is a digit; as a number in an 8-bit type, not as a character.
        return CustomerizeCast<T, std::string>()(CustomerizeCast<std::string, E>()(from));
    } else if constexpr (std::is_same_v<T, ustring>) {
        return qf::i18n::to_ustring(lexicalText(from));
    } else if constexpr (std::is_same_v<E, ustring>) {
        return CustomerizeCast<T, std::string>()(qf::i18n::to_string(from));
    } else if constexpr (std::is_same_v<E, bool> ||
                         (std::is_floating_point_v<T> && !std::is_same_v<E, double>)) {
        return static_cast<T>(from);
    } else {
        if constexpr (std::is_floating_point_v<E> && std::is_integral_v<T> &&
                      !std::is_same_v<T, bool>) {
            // A NaN passes the check of the range, but the language gives it no integer.
            if (std::isnan(from)) return std::numeric_limits<T>::lowest();
        }
        return boost::numeric_cast<T>(from);
    }
}

}  // namespace detail

/// Copies a value from one shape and element type to another. With `allowConversion` false the
/// element types have to agree. A failure leaves `to` as it was, except where stated otherwise.
struct ConvertVector {
    /// Scalar to scalar. A reference to a bit is no `bool`: it always needs the conversion.
    template <class E, class T>
    static void copy(E const& from, T& to, bool allowConversion) {
        if (!std::is_same_v<E, T> && !allowConversion) throw detail::TypeNotMatch();
        to = detail::castElement<T>(from);
    }

    /// Scalar to an array of one element.
    template <class E, class T>
    static void copy(E const& from, std::vector<T>& to, bool allowConversion) {
        if (!std::is_same_v<E, T> && !allowConversion) throw detail::TypeNotMatch();
        std::vector<T> converted(1, detail::castElement<T>(from));
        to.swap(converted);
    }

    /// Array to scalar: it has to have exactly one element, which is looked at before the types.
    template <class E, class T>
    static void copy(std::vector<E> const& from, T& to, bool allowConversion) {
        if (from.size() != 1) throw detail::EmptyVectorCastToScalar();
        // An element of a packed array is a reference to a bit, and so not of the type `bool`.
        bool const sameType = std::is_same_v<E, T> && !std::is_same_v<E, bool>;
        if (!sameType && !allowConversion) throw detail::TypeNotMatch();
        to = detail::castElement<T, E>(from.front());
    }

    /// Array to array, element by element. A refusal for the types empties `to`.
    template <class E, class T>
    static void copy(std::vector<E> const& from, std::vector<T>& to, bool allowConversion) {
        if (!std::is_same_v<E, T> && !allowConversion) {
            to.clear();
            throw detail::TypeNotMatch();
        }
        std::vector<T> converted;
        converted.reserve(from.size());
        for (E const& element : from)
            converted.push_back(detail::castElement<T>(element));
        to.swap(converted);
    }
};

}  // namespace settingscore::boostany
