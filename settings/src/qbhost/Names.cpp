#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>

#include <settingscore/host/Platform.hpp>

namespace {

constexpr std::size_t longestName = 63;

constexpr std::string_view reservedWords[] = {
    "break",  "case", "catch",     "continue", "else",   "end",  "false", "for",   "function",
    "global", "if",   "otherwise", "return",   "switch", "true", "try",   "while",
};

// ASCII only, whatever `setlocale` says.
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isNameCharacter(char c) { return isLetter(c) || (c >= '0' && c <= '9') || c == '_'; }

}  // namespace

bool zx_array_api::zxIsValidVarName(std::string const& name) {
    if (name.empty() || name.size() > longestName || !isLetter(name.front())) return false;
    return std::all_of(name.begin(), name.end(), isNameCharacter) &&
           std::find(std::begin(reservedWords), std::end(reservedWords), name) ==
               std::end(reservedWords);
}
