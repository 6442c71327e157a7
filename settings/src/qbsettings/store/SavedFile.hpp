#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include <boost/any.hpp>
#include <settingscore/host/UString.hpp>

namespace qbsettings {

/// What a user file holds at this moment, read by itself. A save that failed is judged by it.
class SavedFile {
public:
    /// One that is not there, or cannot be read, holds nothing.
    explicit SavedFile(qf::ustring const& file);

    /// True if the key of that full name has the value; for an empty one, if it is there at all.
    bool holds(std::string const& name, boost::any const& value) const;

private:
    std::map<std::string, boost::any> values_;
};

/// "saved: a, b; not saved: c", where `done` is "saved".
std::string savedText(std::string const& done, std::vector<std::string> const& names,
                      std::vector<std::string> const& missing);

/// The bytes of a file; empty if there is no file, nothing if it cannot be read.
std::optional<std::string> bytesOf(qf::ustring const& file);

}  // namespace qbsettings
