#pragma once

#include <boost/mpl/void.hpp>
#include <boost/variant/variant.hpp>
#include <settingscore/Export.hpp>
#include <settingscore/rules/CValidator.hpp>
#include <settingscore/rules/JValidator.hpp>
#include <settingscore/rules/ZValidator.hpp>

namespace settings::core {

/// The function that judges the values of a key, or of all keys below a group that have no nearer
/// one; the first alternative means none.
///
/// A validator runs last, after type, size, range and choices, before anything is stored. It runs
/// on the caller's thread while the tree is held: it may read the tree, and must not change it.
using Validator = boost::variant<boost::mpl::void_, ZValidator, CValidator, JValidator>;

/// True if both hold the same alternative with the same names; two that hold none are equal.
SETTINGSCORE_API bool isEqual(Validator const& a, Validator const& b);

}  // namespace settings::core
