#pragma once

#include <qbsettings/output/Cell.hpp>
#include <qbsettings/texts/Texts.hpp>

namespace qbsettings {

/// The texts of a node as JSON: an object of what there is, null if there is nothing. In a row the
/// summary.
Cell cellOf(texts::Texts const& texts);

}  // namespace qbsettings
