#pragma once

#include <string>
#include <vector>

#include <settingscore/host/UString.hpp>

namespace qbsettings {

/// What is wrong with a settings file.
struct Fault {
    qf::ustring file;  ///< Empty if no file is to blame.
    std::string message;
    unsigned long line = 0;  ///< 0 if the place is not known.
    unsigned long column = 0;
    std::string key = {};  ///< Full name of what is at fault, where that is known.

    /// "FILE:LINE:COLUMN: message" where the place is known, else "FILE: message".
    std::string toText() const;
};

/// The faults that a load met, from its detail text.
std::vector<Fault> faultsOfLoad(qf::ustring const& detail);

/// A fault from the library's text, which begins with the place where the parser knows it.
Fault faultOfText(qf::ustring const& file, qf::ustring const& text);

}  // namespace qbsettings
