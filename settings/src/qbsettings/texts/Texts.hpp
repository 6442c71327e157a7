#pragma once

#include <map>
#include <string>
#include <vector>

namespace qbsettings::texts {

/// What people are told of a key, a group or a product; what is not said is empty. UTF-8 without
/// control characters, but for line feeds and tabs in the description.
struct Texts {
    std::string summary;      ///< One line.
    std::string description;  ///< Markdown.
    std::string unit;
    std::map<std::string, std::string> labels;  ///< By the choice that each is for.
    std::string since;
    std::string deprecated;  ///< What to use instead.

    bool empty() const;
};

/// Takes from `other` what `texts` does not say, label by label.
void fill(Texts& texts, Texts const& other);

/// The lines of a description.
std::vector<std::string> linesOf(std::string const& description);

}  // namespace qbsettings::texts
