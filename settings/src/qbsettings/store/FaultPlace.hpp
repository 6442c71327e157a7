#pragma once

#include <optional>
#include <string>

#include <qbsettings/errors/Fault.hpp>
#include <qbsettings/store/FaultSearch.hpp>
#include <qbsettings/store/Tree.hpp>

namespace qbsettings {

/// The fault told at a place, with what is to be said of that in front.
Fault faultAt(FaultyElement const& place, std::string const& remark, Fault fault);
/// For an element whose name another one has that stands before it.
std::string duplicateRemark(settings::core::Markup const& before);

/// The fault of a file that the element names by an `additionalpath`, told at the place of that;
/// none if it is no such element, or its file is good.
std::optional<Fault> additionalFault(FaultyElement const& place, Fault const& fault);

/// The fault with line, column and key in front of the library's text, where that does not have
/// them, and with both names where two differ. One that was met when the files of a product came
/// together is looked for with the product as the other files made it.
Fault placedFault(Fault const& fault, SettingsPtr const& product = {},
                  std::string const& productName = {});

}  // namespace qbsettings
