#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>

#include <boost/any.hpp>
#include <qbsettings/store/Tree.hpp>
#include <qbsettings/text/Values.hpp>

namespace qbsettings {

struct Context;

/// What one side of a comparison says: a level of the store with those below it, a settings file,
/// or the files of a folder. A key without a value is left out.
struct ComparedValues {
    struct Entry {
        KeyType type;
        boost::any value;
    };

    std::map<std::string, Entry> entries;           ///< By full name.
    std::map<std::string, std::string> failed;      ///< Keys whose value could not be had, and why.
    std::optional<std::set<std::string>> products;  ///< Those of a file; nothing: any.
};

/// Reads a file, or all settings files of a folder. @throws Failure, nothing there if it is none
ComparedValues valuesOfFiles(std::string const& path);

/// Reads the values that would be in force if the levels above were empty. Beside `files`, of what
/// these can speak of: the keys that they name, and those that the user has set.
ComparedValues valuesOfLevel(Context& context, std::string const& level,
                             ComparedValues const* files);

}  // namespace qbsettings
