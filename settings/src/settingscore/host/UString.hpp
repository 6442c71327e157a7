#pragma once

#include <string>

namespace qf {

/// A string of UTF-16 code units: paths, string values and texts for people.
using ustring = std::u16string;

}  // namespace qf

namespace settings::core {
using qf::ustring;
}

namespace settingscore::boostany {
using qf::ustring;
}
