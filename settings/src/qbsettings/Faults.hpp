#pragma once

#include <exception>
#include <string>
#include <vector>

#include <settingscore/host/UString.hpp>

namespace qbsettings {

/// What is wrong with a settings file.
struct Fault {
    qf::ustring file;  ///< Empty if no file is to blame.
    std::string text;

    /// What the text says, apart from its place.
    struct Parts {
        std::string line;  ///< Both are empty if the place is not known.
        std::string column;
        std::string message;
    };
    Parts parts() const;

    /// "FILE:LINE:COLUMN: text" where the place is known, else "FILE: text".
    std::string toText() const;
};

/// The faults that a load met, from its detail text: a line each, path and text with a tab between.
std::vector<Fault> faultsOfLoad(qf::ustring const& detail);

/// The fault of a file whose import threw `error`.
Fault faultOfImport(qf::ustring const& file, std::exception const& error);

}  // namespace qbsettings
