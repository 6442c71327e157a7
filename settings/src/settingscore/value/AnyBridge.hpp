#pragma once

#include <array>
#include <cstddef>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include <boost/any.hpp>
#include <boost/optional.hpp>
#include <boost/variant.hpp>
#include <settingscore/Export.hpp>
#include <settingscore/value/SupportedTypes.hpp>

/// The bridge between an open `boost::any` and the closed list of types. Stateless; a value that
/// threads share is guarded by whoever shares it.
namespace settingscore::boostany {

/// A value of any of the types; `which()` is the type's index, 0 is no value. Beware: a string
/// literal that is put into it becomes a `bool`.
using SupportedVariant = boost::make_variant_over<SupportedTypes>::type;

/// True for an empty value and for one of a type on the list. Does not throw.
SETTINGSCORE_API bool isSupported(boost::any const& value);

/// Equality of two values. Only values of the same type can be equal; numbers compare without
/// tolerance, so a NaN equals nothing, except that an object always equals itself.
/// @throws UnsupportedAnyType for the type of `a`
SETTINGSCORE_API bool isEqual(boost::any const& a, boost::any const& b);

/// @throws UnsupportedAnyType
SETTINGSCORE_API SupportedVariant convertAnyToVariant(boost::any const& value);
/// Never fails; alternative 0 gives an empty value.
SETTINGSCORE_API boost::any convertVariantToAny(SupportedVariant const& value);

namespace detail {

/// Called with the held type before a conversion or a visit. It checks nothing.
SETTINGSCORE_API void assertIfTypeNotExported(std::type_info const& type);

/// Index of a type that is on the list, `supportedTypeCount` for any other.
SETTINGSCORE_API unsigned long typeIndexOf(std::type_info const& type) noexcept;

template <class Declared>
struct ResultOrVoid {
    using type = Declared;
};
template <>
struct ResultOrVoid<void> {
    using type = mpl_::void_;
};

/// The visitor's `result_type`; `mpl_::void_` if it has none, or `void`.
template <class Visitor, class = void>
struct result_of {
    using type = mpl_::void_;
};
template <class Visitor>
struct result_of<Visitor, std::void_t<typename Visitor::result_type>>
    : ResultOrVoid<typename Visitor::result_type> {};

/// Puts what a visitor gives into an optional.
template <class Result>
struct AssignBoostOptional {
    template <class Visitor, class... Value>
    static void assign(boost::optional<Result>& result, Visitor& visitor, Value const&... value) {
        // In place: a `boost::any` that is assigned could end up wrapped in another one.
        result.emplace(visitor(value...));
    }
};
template <>
struct AssignBoostOptional<mpl_::void_> {
    template <class Visitor, class... Value>
    static void assign(boost::optional<mpl_::void_>& result, Visitor& visitor,
                       Value const&... value) {
        visitor(value...);
        result.emplace();
    }
};

/// Calls the visitor when the type under the hand is the one that the value holds.
template <class Visitor, class Result>
class InvokeVisitor {
public:
    InvokeVisitor(boost::any const& value, Visitor& visitor)
        : value_(value), visitor_(visitor), index_(typeIndexOf(value.type())) {}

    template <class T>
    void operator()(AnyTypeWrapper<T>) {
        // One look at the type gave the index, so that each step here compares a number only.
        if (result_ || index_ != ValueTraits<T>::index) return;
        if constexpr (std::is_same_v<T, mpl_::void_>) {
            AssignBoostOptional<Result>::assign(result_, visitor_);
        } else {
            AssignBoostOptional<Result>::assign(result_, visitor_, *boost::any_cast<T>(&value_));
        }
    }

    boost::optional<Result>& result() { return result_; }
    unsigned long index() const { return index_; }

private:
    boost::any const& value_;
    Visitor& visitor_;
    unsigned long const index_;
    boost::optional<Result> result_;
};

/// The walk over the types from the one at Index on.
template <std::size_t Index, bool IsEnd>
struct TryNextType {
    template <template <class> class Wrapper, class Functor>
    static void runFunctor(Functor& functor) {
        functor(Wrapper<std::tuple_element_t<Index, SupportedTuple>>());
        TryNextType<Index + 1, Index + 1 == supportedTypeCount>::template runFunctor<Wrapper>(
            functor);
    }
};
template <std::size_t Index>
struct TryNextType<Index, true> {
    template <template <class> class Wrapper, class Functor>
    static void runFunctor(Functor&) {}
};

/// The steps of the walk one by one: where the type is known, the one that counts is enough.
template <class Functor, std::size_t... Index>
constexpr auto stepsOf(std::index_sequence<Index...>) {
    using Step = void (*)(Functor&);
    return std::array<Step, sizeof...(Index)>{[](Functor& functor) {
        functor(AnyTypeWrapper<std::tuple_element_t<Index, SupportedTuple>>());
    }...};
}

}  // namespace detail

/// Calls `functor` with a `Wrapper<T>`, such as `detail::AnyTypeWrapper<T>`, for each of the 25
/// types in the order of the list.
template <template <class> class Wrapper, class Functor>
void ForEachSupportedType(Functor& functor) {
    detail::TryNextType<0, false>::runFunctor<Wrapper>(functor);
}

#if defined(__GNUC__) && !defined(__clang__)
// The compiler takes the storage of an optional that was just seen to be engaged for unset.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
/// Calls `visitor` with a reference to what `value` holds, or with nothing if it is empty, and
/// gives back what the visitor gives (`mpl_::void_` if nothing). The type of that is the visitor's
/// `result_type`.
/// @throws UnsupportedAnyType if the held type is not on the list; whatever the visitor throws
template <class Visitor>
typename detail::result_of<Visitor>::type applyVisitor(Visitor& visitor, boost::any const& value,
                                                       bool assertExported) {
    if (assertExported) detail::assertIfTypeNotExported(value.type());
    using Result = typename detail::result_of<Visitor>::type;
    using Invoker = detail::InvokeVisitor<Visitor, Result>;
    static constexpr auto steps =
        detail::stepsOf<Invoker>(std::make_index_sequence<supportedTypeCount>());
    Invoker invoker(value, visitor);
    if (invoker.index() == supportedTypeCount) throw UnsupportedAnyType(value.type());
    steps[invoker.index()](invoker);
    return std::move(*invoker.result());
}
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

namespace detail {

/// The visitor that copies a value.
struct CreateAny {
    using result_type = boost::any;
    boost::any operator()() const { return boost::any(); }
    template <class T>
    boost::any operator()(T const& value) const {
        return boost::any(value);
    }
};

/// The visitor that copies a value into a variant. Its work is in a source, so that whoever
/// includes this header does not compile the variant of all types.
struct CreateVariant {
    using result_type = SupportedVariant;
    SupportedVariant operator()() const;
    template <class T>
    SupportedVariant operator()(T const& value) const;
};

}  // namespace detail

}  // namespace settingscore::boostany
