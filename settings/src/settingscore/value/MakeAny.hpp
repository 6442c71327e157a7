#pragma once

#include <string>
#include <type_traits>
#include <vector>

#include <boost/any.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/value/ValueTraits.hpp>

namespace settingscore::boostany {

namespace detail {

/// The supported type that stands for T: T itself, or the one that holds the same values.
template <class T, class = void>
struct StandIn {
    static_assert(isValueType<T>, "no supported type holds the values of this one");
    using Type = T;
};
template <>
struct StandIn<long> {
    using Type = long long;
};
template <>
struct StandIn<unsigned long> {
    using Type = unsigned long long;
};
template <>
struct StandIn<std::vector<bool>::reference> {
    using Type = bool;
};
template <class T>
struct StandIn<T, std::enable_if_t<std::is_convertible_v<T, std::string>>> {
    using Type = ustring;
};
template <class T>
struct StandIn<T, std::enable_if_t<std::is_convertible_v<T, ustring>>> {
    using Type = ustring;
};
template <class T>
struct StandIn<std::vector<T>> {
    using Type = std::vector<typename StandIn<T>::Type>;
};

template <class To, class From>
To toStandIn(From const& from) {
    if constexpr (std::is_convertible_v<From, std::string>) {
        return qf::i18n::to_ustring(from);
    } else {
        return static_cast<To>(from);
    }
}

}  // namespace detail

/// @{
/// A value for a setting made from `value`, whose type may be one of those that the list of
/// supported types lacks only by name: `long`, `unsigned long` (and so `std::int64_t`,
/// `std::uint64_t`, `std::size_t`) become `long long` and `unsigned long long`, UTF-8 strings and
/// string literals become `ustring`, a reference to a bit becomes `bool`; arrays of these likewise.
/// Any other type is an error of compilation.
template <class T>
boost::any makeAny(T const& value) {
    using Decayed = std::decay_t<T const>;
    using Stored = typename detail::StandIn<Decayed>::Type;
    if constexpr (std::is_same_v<Stored, Decayed>) {
        return boost::any(value);
    } else {
        return boost::any(detail::toStandIn<Stored, Decayed>(value));
    }
}
template <class T>
boost::any makeAny(std::vector<T> const& values) {
    using Stored = typename detail::StandIn<T>::Type;
    /// @}
    if constexpr (std::is_same_v<Stored, T>) {
        return boost::any(values);
    } else {
        std::vector<Stored> stored;
        stored.reserve(values.size());
        for (T const& value : values)
            stored.push_back(detail::toStandIn<Stored>(value));
        return boost::any(stored);
    }
}

}  // namespace settingscore::boostany
