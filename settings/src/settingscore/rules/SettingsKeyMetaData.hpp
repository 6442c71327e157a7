#pragma once

#include <type_traits>
#include <utility>
#include <vector>

#include <boost/any.hpp>
#include <boost/optional.hpp>
#include <settingscore/Export.hpp>
#include <settingscore/host/UString.hpp>

namespace settings::core {

template <class T>
struct SettingsKeyMetaData;

/// Minimum, maximum and choices of a key, as they are stored: in no fixed type.
///
/// A value passes if it lies in the range or is one of the choices; where only one of the two is
/// declared, that one decides, and where nothing is declared, everything passes. For a key of type
/// string the bounds are `unsigned int` and limit the length in UTF-16 code units.
template <>
struct SETTINGSCORE_API SettingsKeyMetaData<boost::any> {
    SettingsKeyMetaData() = default;
    /// Engaged choices count even if there are none among them: nothing is one.
    SettingsKeyMetaData(boost::any const& lowest, boost::any const& highest,
                        boost::optional<std::vector<boost::any>> const& accepted)
        : minimum(lowest), maximum(highest), choices(accepted) {}

    /// Nothing is declared.
    bool empty() const { return minimum.empty() && maximum.empty() && !choices; }

    boost::any minimum;                                ///< Empty: no minimum.
    boost::any maximum;                                ///< Empty: no maximum.
    boost::optional<std::vector<boost::any>> choices;  ///< Not engaged: no choices.
};

/// The same in the key's own type T, one of the element types.
template <class T>
struct SETTINGSCORE_API SettingsKeyMetaData {
    /// What a bound is: for a text the number of its UTF-16 units.
    using Bound = std::conditional_t<std::is_same_v<T, ustring>, unsigned int, T>;

    /// @throws settingscore::boostany::detail::TypeNotMatch if a bound or a choice is of another
    ///         element type: numbers are not converted
    SettingsKeyMetaData(SettingsKeyMetaData<boost::any> const& untyped);

    /// @{
    /// What is not engaged is not declared.
    boost::optional<Bound> minimum;
    boost::optional<Bound> maximum;
    boost::optional<std::vector<T>> choices;
    /// @}
};

}  // namespace settings::core
