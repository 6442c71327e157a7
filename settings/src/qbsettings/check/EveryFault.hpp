#pragma once

#include <cstddef>
#include <vector>

#include <qbsettings/errors/Fault.hpp>
#include <settingscore/persistence/Markup.hpp>

namespace qbsettings {

/// The faults of a file that is refused by itself, at most so many: a reader stops at the first.
/// The file is halved, and each half that is refused again, down to single keys, so that a fault
/// costs some readings of the file at the most, however many keys there are.
std::vector<Fault> everyFault(qf::ustring const& file, settings::core::Markup const& top,
                              std::size_t most);

}  // namespace qbsettings
