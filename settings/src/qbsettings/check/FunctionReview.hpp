#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <qbsettings/check/Finding.hpp>
#include <settingscore/persistence/Markup.hpp>

namespace qbsettings {

/// Looks whether the functions that files name are there. Those of C alone can be looked for
/// without a host; their libraries are loaded as for a call, each once.
class FunctionReview {
public:
    std::vector<Finding> run(qf::ustring const& file, settings::core::Markup const& top);

private:
    using Names = std::pair<std::string, std::string>;

    /// What is wrong with the function of C; empty if it is there.
    std::string const& lookedUp(Names const& names);

    std::map<Names, std::string> known_;
};

}  // namespace qbsettings
