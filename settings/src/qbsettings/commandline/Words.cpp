#include <qbsettings/commandline/Words.hpp>

#include <algorithm>

#include <settingscore/value/AsciiCase.hpp>

namespace qbsettings {

namespace {

/// A word that begins with this character itself is marked as well.
constexpr char mark = '\x01';

bool isNegativeNumber(std::string const& word) {
    if (word.size() < 2 || word.front() != '-') return false;
    if ((word[1] >= '0' && word[1] <= '9') || word[1] == '.') return true;
    std::string const rest = settings::core::detail::foldedAscii(word.substr(1));
    return rest == "inf" || rest == "infinity" || rest.compare(0, 3, "nan") == 0;
}

bool isMisread(std::string const& word) {
    return word.empty() || word.front() == '[' || word.front() == '{' || word.front() == mark ||
           isNegativeNumber(word);
}

}  // namespace

std::vector<std::string> markWords(std::vector<std::string> const& words) {
    std::vector<std::string> result;
    bool optionsEnded = false;
    for (std::string const& word : words) {
        if (!optionsEnded && word == "--") {
            optionsEnded = true;
        } else {
            result.push_back(optionsEnded || isMisread(word) ? mark + word : word);
        }
    }
    return result;
}

void unmark(std::string& word) {
    if (!word.empty() && word.front() == mark) word.erase(0, 1);
}

void unmark(std::vector<std::string>& words) {
    for (std::string& word : words)
        unmark(word);
}

void unmark(std::optional<std::string>& word) {
    if (word) unmark(*word);
}

std::string withoutMarks(std::string message) {
    message.erase(std::remove(message.begin(), message.end(), mark), message.end());
    return message;
}

}  // namespace qbsettings
