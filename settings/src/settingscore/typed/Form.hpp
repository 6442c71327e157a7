#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <boost/any.hpp>
#include <boost/optional.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/typed/Choices.hpp>
#include <settingscore/typed/Errors.hpp>
#include <settingscore/value/AnyBridge.hpp>
#include <settingscore/value/Get.hpp>

/// How a C++ type stands for the type of a key.
namespace settingscore::typed::detail {

template <class T>
inline constexpr bool isVector = false;
template <class T>
inline constexpr bool isVector<std::vector<T>> = true;
template <class T>
inline constexpr bool isOptional = false;
template <class T>
inline constexpr bool isOptional<std::optional<T>> = true;

/// A single value: `Stored` is the supported type that holds it.
template <class T, class = void>
struct ElementForm {
    static_assert(!isVector<T>, "settingscore::typed: the elements of an array are no arrays");
    static_assert(!isOptional<T>,
                  "settingscore::typed: std::optional stands around the whole type of a key, and "
                  "once");
    static_assert(
        !std::is_enum_v<T>,
        "settingscore::typed: an enum needs the table of its choices beside it: constexpr "
        "auto settingChoices(Enum)");
    static_assert(isVector<T> || isOptional<T> || std::is_enum_v<T>,
                  "settingscore::typed: no key has values of this type; there are bool, the signed "
                  "and unsigned integers, float, double, std::string, and enums with a table");
    using Stored = int;  // Stops the compiler here.
};

template <class T>
struct ElementForm<T, std::enable_if_t<boostany::isValueType<T> && !isVector<T>>> {
    using Stored = T;
    static T store(T const& value, std::string const&) { return value; }
    static T take(T const& stored, std::string const&) { return stored; }
};

/// `long` is not a supported type, `long long` is.
template <class T>
struct ElementForm<T,
                   std::enable_if_t<std::is_same_v<T, long> || std::is_same_v<T, unsigned long>>> {
    using Stored = std::conditional_t<std::is_signed_v<T>, long long, unsigned long long>;
    static Stored store(T value, std::string const&) { return value; }
    static T take(Stored stored, std::string const& key) {
        T const value = static_cast<T>(stored);
        if (static_cast<Stored>(value) != stored)
            throw DoesNotFit(key, std::to_string(stored),
                             std::is_signed_v<T> ? "long" : "unsigned long");
        return value;
    }
};

template <>
struct ElementForm<std::string> {
    using Stored = qf::ustring;
    static Stored store(std::string const& value, std::string const&) {
        return qf::i18n::to_ustring(value);
    }
    static std::string take(Stored const& stored, std::string const&) {
        return qf::i18n::to_string(stored);
    }
};

template <class Enum>
struct ElementForm<Enum, std::enable_if_t<std::is_enum_v<Enum> && hasChoices<Enum>>>
    : ChoiceTable<Enum> {};

/// A whole value: `Value` is what is set, and what a read gives where there is a value.
template <class T>
struct Form : ElementForm<T> {
    using Value = T;
    static constexpr bool mayBeAbsent = false;
};

template <class T>
struct Form<std::vector<T>> {
    static_assert(!isVector<T>, "settingscore::typed: the elements of an array are no arrays");
    using Value = std::vector<T>;
    using Element = ElementForm<T>;
    using Stored = std::vector<typename Element::Stored>;
    static constexpr bool mayBeAbsent = false;

    static Stored store(Value const& values, std::string const& key) {
        Stored stored;
        stored.reserve(values.size());
        for (auto const& value : values)
            stored.push_back(Element::store(value, key));
        return stored;
    }
    static Value take(Stored const& stored, std::string const& key) {
        Value values;
        values.reserve(stored.size());
        for (auto const& value : stored)
            values.push_back(Element::take(value, key));
        return values;
    }
};

template <class T>
struct Form<std::optional<T>> : Form<T> {
    static_assert(!isOptional<T>,
                  "settingscore::typed: std::optional stands around the whole type of a key, and "
                  "once");
    static constexpr bool mayBeAbsent = true;
};

/// The type that stands for T, for people.
template <class T>
constexpr char const* typeNameOf() {
    return boostany::ValueTraits<typename Form<T>::Stored>::name;
}

/// The type with that index, for people.
inline std::string typeNameAt(unsigned long index) {
    if (index == boostany::anyTypeIndex) return "any";
    std::string name = "void";
    boostany::forEachElementType([&](auto wrapper) {
        using Scalar = boostany::ValueTraits<typename decltype(wrapper)::Type>;
        if (index == Scalar::index) name = Scalar::name;
        if (index == Scalar::vectorIndex) name = std::string("array of ") + Scalar::name;
    });
    return name;
}

/// A value out of its `boost::any`; an optional is empty for an empty one.
/// @throws NoValue, WrongType, NotInTable
template <class T>
T fromAny(boost::any const& value, std::string const& key) {
    using Stored = typename Form<T>::Stored;
    if (value.empty()) {
        if constexpr (Form<T>::mayBeAbsent) {
            return T();
        } else {
            throw NoValue(key);
        }
    }
    if (Stored const* const stored = boost::any_cast<Stored>(&value))
        return Form<T>::take(*stored, key);
    // A key of any type can hold one element where an array is asked for.
    boost::optional<Stored> reshaped;
    try {
        reshaped = boostany::get<Stored>(value, false);
    } catch (std::exception const&) {
        throw WrongType(key, typeNameAt(boostany::detail::typeIndexOf(value.type())),
                        typeNameOf<T>());
    }
    return Form<T>::take(*reshaped, key);
}

}  // namespace settingscore::typed::detail
