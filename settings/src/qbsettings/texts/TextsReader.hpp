#pragma once

#include <string>

#include <qbsettings/texts/TextsFile.hpp>

namespace qbsettings::texts {

/// Reads the content of a file of texts into `file`: its entries, or its problem.
void readTexts(std::string const& bytes, TextsFile& file);

}  // namespace qbsettings::texts
