#pragma once

#include <optional>
#include <string>
#include <vector>

/// Words of a command line, kept from what the option parser would read into them.
namespace qbsettings {

/// Marks the words that the parser would not hand on as they are: it takes "[a]" and "{}" for
/// lists, "-inf" for an option, and loses its way if values stand on both sides of a "--". That
/// word is taken out; those behind it are no options.
std::vector<std::string> markWords(std::vector<std::string> const& words);

/// Takes the mark off again.
void unmark(std::string& word);
void unmark(std::vector<std::string>& words);
void unmark(std::optional<std::string>& word);

/// Takes every mark out of a message.
std::string withoutMarks(std::string message);

}  // namespace qbsettings
