#pragma once

#include <string>
#include <vector>

namespace qbsettings::texts {

/// True for a language as file names have it: "de", "de_AT".
bool isLanguage(std::string const& text);

/// Those that the environment asks for (LC_ALL, LC_MESSAGES, LANG: the first that is set), the most
/// exact first: "de_AT", "de". None for "C", "POSIX" and what is no language.
std::vector<std::string> languagesOfMessages();

}  // namespace qbsettings::texts
