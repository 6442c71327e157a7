#pragma once

#include <string>

#include <boost/optional.hpp>

namespace settings::core::XMLSettingsDetails {

/// None for an empty text. @throws boost::bad_lexical_cast for a text that is no unsigned number of
/// 32 bits; a sign is allowed, "-" negates modulo 2 to the 32.
boost::optional<unsigned int> getVersionNumber(std::string const& text);

}  // namespace settings::core::XMLSettingsDetails
