#pragma once

#include <string>

#include <qbsettings/errors/Fault.hpp>
#include <qbsettings/store/Tree.hpp>

namespace qbsettings {

/// The fault with line, column and key in front of the library's text, where that does not have
/// them, and with both names where two differ. One that was met when the files of a product came
/// together is looked for with the product as the other files made it.
Fault placedFault(Fault const& fault, SettingsPtr const& product = {},
                  std::string const& productName = {});

}  // namespace qbsettings
