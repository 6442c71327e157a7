#pragma once

#include <boost/any.hpp>
#include <settingscore/rules/RunTimeDefault.hpp>

namespace settings::core::detail {

/// Equal to the last bit, as a file would have them: a NaN is equal to itself, and zero to no
/// negative zero.
bool sameValue(boost::any const& a, boost::any const& b);
/// The same function of the same library.
bool sameFunction(RunTimeDefault const& a, RunTimeDefault const& b);

}  // namespace settings::core::detail
