#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include <settingscore/host/I18n.hpp>
#include <settingscore/typed/Errors.hpp>
#include <settingscore/value/ValueTraits.hpp>

namespace settingscore::typed {

/// One row of the table that lets an enum stand for the choices of a key. The table is a function
/// beside the enum:
///
///     enum class Paper { a4, a3 };
///     constexpr auto settingChoices(Paper) {
///         return std::array<Choice<Paper>, 2>{{{Paper::a4, "A4"}, {Paper::a3, "A3"}}};
///     }
///
/// For a key of numbers the rows have numbers of the type of the key: `Choice<Speed, int>`.
template <class Enum, class Value = char const*>
using Choice = std::pair<Enum, Value>;

namespace detail {

/// True for an enum with a table.
template <class Enum, class = void>
inline constexpr bool hasChoices = false;
template <class Enum>
inline constexpr bool hasChoices<Enum, std::void_t<decltype(settingChoices(Enum()))>> = true;

/// The way from an enum to what its key stores, and back.
template <class Enum>
struct ChoiceTable {
    using Row = std::decay_t<decltype(*std::begin(settingChoices(Enum())))>;
    static constexpr bool isText =
        std::is_convertible_v<typename Row::second_type, std::string_view>;
    using Stored = std::conditional_t<isText, qf::ustring, typename Row::second_type>;
    static_assert(boostany::isValueType<Stored>,
                  "settingscore::typed: a table of choices has texts, or numbers of the exact type "
                  "of the key");

    static Stored store(Enum value, std::string const& key) {
        for (Row const& row : settingChoices(Enum())) {
            if (row.first == value) return storedOf(row);
        }
        throw NotInTable(key, std::to_string(static_cast<long long>(value)));
    }

    static Enum take(Stored const& stored, std::string const& key) {
        for (Row const& row : settingChoices(Enum())) {
            if (storedOf(row) == stored) return row.first;
        }
        if constexpr (isText) {
            throw NotInTable(key, qf::i18n::to_string(stored));
        } else {
            throw NotInTable(key, std::to_string(stored));
        }
    }

private:
    static Stored storedOf(Row const& row) {
        if constexpr (isText) {
            return qf::i18n::to_ustring(std::string(row.second));
        } else {
            return row.second;
        }
    }
};

}  // namespace detail

}  // namespace settingscore::typed
