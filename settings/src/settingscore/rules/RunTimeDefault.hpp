#pragma once

#include <string>

#include <boost/mpl/void.hpp>
#include <boost/variant/variant.hpp>
#include <settingscore/Export.hpp>
#include <settingscore/rules/CRunTimeDefault.hpp>
#include <settingscore/rules/JRunTimeDefault.hpp>
#include <settingscore/rules/ZRunTimeDefault.hpp>

namespace settings::core {

/// The function that computes a key's default when the value is read; the first alternative means
/// none. It stands for a stored value of the level that it belongs to, and is run anew for each
/// read, on the reader's thread, while the tree is held: it may read the tree, and must not change
/// it. Reading the value that it computes, directly or through another default, is an
/// `exception::RunTimeFuncInvokingError` there.
using RunTimeDefault =
    boost::variant<boost::mpl::void_, CRunTimeDefault, ZRunTimeDefault, JRunTimeDefault>;

/// True if there is none.
SETTINGSCORE_API bool isVoidRuntimeDefault(RunTimeDefault const& runTimeDefault);

namespace detail {

/// True if there is a runtime default and its level is exactly `level`.
bool belongsToLevel(RunTimeDefault const& runTimeDefault, std::string const& level);

/// Does nothing if there is no runtime default.
void setBelongingLevel(RunTimeDefault& runTimeDefault, std::string const& level);

}  // namespace detail

}  // namespace settings::core
