#pragma once

#include <string>
#include <vector>

#include <boost/any.hpp>
#include <settingscore/rules/RunTimeDefault.hpp>
#include <settingscore/rules/Validator.hpp>

namespace settings::core {
struct KeyDescription;
}

/// The rules of a key in words.
namespace qbsettings {

/// Index of the key's element type; that of its bounds if its type is open.
unsigned long elementOf(settings::core::KeyDescription const& description);

/// "1 value was given", "3 values were given".
std::string countText(unsigned long count);

/// "exactly 3 values", "2 to 4 values", "any number of values"; a `most` of 0 is no bound.
std::string sizeText(unsigned long least, unsigned long most);

/// "0.1 to 12 or one of 0, 99", "at least 5 or 0"; empty if every value passes.
std::string boundsText(settings::core::KeyDescription const& description);

/// The element of a value that range and choices refuse, in quotes; empty if there is none.
std::string refusedElement(settings::core::KeyDescription const& description,
                           boost::any const& value);

/// The range alone: "0.1 to 12", "at least 3"; of a text, the bounds on its length.
std::string rangeText(settings::core::KeyDescription const& description);

std::vector<std::string> choiceTexts(settings::core::KeyDescription const& description);

/// "C package function"; empty for none.
std::string functionText(settings::core::Validator const& validator);
std::string functionText(settings::core::RunTimeDefault const& runTimeDefault);

/// Level of the file that brought the default in; empty for none.
std::string levelOf(settings::core::RunTimeDefault const& runTimeDefault);

}  // namespace qbsettings
