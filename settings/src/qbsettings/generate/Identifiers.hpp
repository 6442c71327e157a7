#pragma once

#include <set>
#include <string>

namespace qbsettings {

/// A name that C++ takes, near to the text: what cannot stand in one becomes `_`, and nothing is
/// left of a text that gives nothing. `word` stands in front of what begins with a digit.
std::string identifierOf(std::string const& text, std::string const& word);

/// True if C++ takes the text as it stands, and nothing else claims it.
bool isIdentifier(std::string const& text);

/// "Paper" of "paper".
std::string capitalised(std::string text);

/// The names of one scope.
class Scope {
public:
    /// A name that nothing in the scope has yet: this one, or one with a number behind it.
    std::string take(std::string const& wanted);
    bool has(std::string const& name) const { return taken_.count(name) != 0; }

private:
    std::set<std::string> taken_;
};

}  // namespace qbsettings
