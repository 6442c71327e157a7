#pragma once

#include <cstddef>
#include <type_traits>
#include <vector>

#include <boost/mpl/void_fwd.hpp>
#include <settingscore/host/UString.hpp>

/// The element types, one row each, in the order of their indexes. All that depends on the type
/// (names, indexes, lists, instantiations) is made from this table.
///
/// ROW(type, index, name, wide, word)
/// - type: the C++ type; exactly this one, not another of the same size
/// - index: its place in `SupportedTypes`; the array's is `elementTypeCount` above it
/// - name: the name for people, and the element's tag in a settings file
/// - wide: what its text is parsed and printed as, so that an 8-bit number is no character
/// - word: the name in the second place of a settings file's error
// clang-format off
#define SETTINGSCORE_ELEMENT_TYPES(ROW)                                  \
    ROW(qf::ustring, 1, "string", qf::ustring, "string")                 \
    ROW(bool, 2, "bool", bool, "bool")                                   \
    ROW(signed char, 3, "int8", short, "int8")                           \
    ROW(unsigned char, 4, "uint8", unsigned short, "unsigned int8")      \
    ROW(short, 5, "int16", short, "int16")                               \
    ROW(unsigned short, 6, "uint16", unsigned short, "uint16")           \
    ROW(int, 7, "int32", int, "int32")                                   \
    ROW(unsigned int, 8, "uint32", unsigned int, "uint32")               \
    ROW(long long, 9, "int64", long long, "int64")                       \
    ROW(unsigned long long, 10, "uint64", unsigned long long, "uint64")  \
    ROW(float, 11, "float", float, "float")                              \
    ROW(double, 12, "double", double, "double")
// clang-format on

namespace settingscore::boostany {

/// Number of element types.
inline constexpr unsigned long elementTypeCount = 12;

/// What differs from type to type. Defined for the element types, for vectors of them, and for
/// `mpl_::void_`, which stands for no value; nothing else is supported.
template <class T>
struct ValueTraits;

/// No value.
template <>
struct ValueTraits<mpl_::void_> {
    static constexpr unsigned long index = 0;    ///< Place in `SupportedTypes`.
    static constexpr char const* name = "void";  ///< Name for people.
};

#define SETTINGSCORE_ROW(type, place, text, wide, word)                        \
    template <>                                                                \
    struct ValueTraits<type> {                                                 \
        using Element = type;                                                  \
        using Wide = wide;                                                     \
        static constexpr bool isArray = false;                                 \
        static constexpr unsigned long index = place;                          \
        static constexpr unsigned long vectorIndex = index + elementTypeCount; \
        static constexpr char const* name = text;                              \
        static constexpr char const* fileErrorWord = word;                     \
    };                                                                         \
    template <>                                                                \
    struct ValueTraits<std::vector<type>> {                                    \
        using Element = type;                                                  \
        static constexpr bool isArray = true;                                  \
        static constexpr unsigned long index = ValueTraits<type>::vectorIndex; \
        static constexpr char const* name = "array of " text;                  \
    };
SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ROW)
#undef SETTINGSCORE_ROW

/// True for the 24 types that a value may have.
template <class T, class = void>
inline constexpr bool isValueType = false;
template <class T>
inline constexpr bool isValueType<T, std::void_t<typename ValueTraits<T>::Element>> = true;

namespace detail {

/// A tag that names a type without holding a value.
template <class T>
struct AnyTypeWrapper {
    using Type = T;
};

template <class... T>
struct TypeList {
    static constexpr std::size_t size = sizeof...(T);
};

template <class First, class... T>
TypeList<T...> withoutFirst(TypeList<First, T...>);

#define SETTINGSCORE_ROW(type, place, text, wide, word) , type
using ElementTypeList =
    decltype(withoutFirst(TypeList<void SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ROW)>()));
#undef SETTINGSCORE_ROW
static_assert(ElementTypeList::size == elementTypeCount, "arrays follow the element types");

template <class Function, class... T>
void forEachType(Function&& function, TypeList<T...>) {
    (function(AnyTypeWrapper<T>()), ...);
}

}  // namespace detail

/// Calls `function` with a `detail::AnyTypeWrapper<T>` for each element type T, in order.
template <class Function>
void forEachElementType(Function&& function) {
    detail::forEachType(function, detail::ElementTypeList());
}

}  // namespace settingscore::boostany
