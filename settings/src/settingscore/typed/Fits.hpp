#pragma once

#include <limits>
#include <string>
#include <type_traits>

#include <settingscore/typed/Errors.hpp>
#include <settingscore/typed/Form.hpp>

/// Numbers that are set on a key of another type of numbers.
namespace settingscore::typed::detail {

template <class T>
inline constexpr bool isText = std::is_pointer_v<T> || std::is_null_pointer_v<T>;

/// True where a conversion of the language would change the value silently, so that it is looked
/// at.
template <class Value, class Given>
inline constexpr bool isNumberFor =
    !std::is_same_v<Value, Given> &&
    ((std::is_arithmetic_v<Value> && (std::is_arithmetic_v<Given> || isText<Given>)) ||
     (std::is_same_v<Value, std::string> &&
      (std::is_arithmetic_v<Given> || std::is_null_pointer_v<Given>)) ||
     (std::is_enum_v<Value> && std::is_arithmetic_v<Given>));

template <class Value, class Given>
constexpr bool isBelow(Given given) {
    if constexpr (std::is_unsigned_v<Given>) {
        return false;
    } else if constexpr (std::is_unsigned_v<Value>) {
        return given < 0;
    } else {
        return given < std::numeric_limits<Value>::min();
    }
}

template <class Value, class Given>
constexpr bool isAbove(Given given) {
    if (given <= 0) return false;
    using Most = unsigned long long;
    return static_cast<Most>(given) > static_cast<Most>(std::numeric_limits<Value>::max());
}

/// The number in the type of the key. @throws DoesNotFit
template <class Value, class Given>
Value fitted(Given given, std::string const& key) {
    static_assert(std::is_arithmetic_v<Given>,
                  "settingscore::typed: a text is no value for a key of numbers or bool");
    static_assert(!std::is_same_v<Value, std::string>,
                  "settingscore::typed: a number is no value for a key of texts");
    static_assert(!std::is_enum_v<Value>,
                  "settingscore::typed: a key of choices takes its enum, not a number");
    static_assert(std::is_same_v<Value, bool> == std::is_same_v<Given, bool>,
                  "settingscore::typed: a key of bool takes true and false alone, and no other key "
                  "does");
    static_assert(!std::is_floating_point_v<Given> || std::is_floating_point_v<Value>,
                  "settingscore::typed: a key of integers takes no number with a fraction");
    if constexpr (std::is_integral_v<Given> && std::is_integral_v<Value>) {
        if (isBelow<Value>(given) || isAbove<Value>(given))
            throw DoesNotFit(key, std::to_string(given), typeNameOf<Value>());
    }
    return static_cast<Value>(given);
}

}  // namespace settingscore::typed::detail
