#include <qbsettings/texts/Languages.hpp>

#include <algorithm>
#include <cstdlib>

namespace qbsettings::texts {

namespace {

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isLetterOrDigit(char c) { return isLetter(c) || (c >= '0' && c <= '9'); }

}  // namespace

bool isLanguage(std::string const& text) {
    // What comes from the environment becomes part of a path: nothing else gets through.
    std::size_t const end = std::min(text.find('_'), text.size());
    if (end < 2 || end > 8 || !std::all_of(text.begin(), text.begin() + end, isLetter))
        return false;
    if (end == text.size()) return true;
    std::size_t const rest = text.size() - end - 1;
    return rest >= 2 && rest <= 8 &&
           std::all_of(text.begin() + end + 1, text.end(), isLetterOrDigit);
}

std::vector<std::string> languagesOfMessages() {
    std::string language;
    for (char const* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        char const* const value = std::getenv(name);
        if (language.empty() && value != nullptr) language = value;
    }
    language = language.substr(0, language.find_first_of(".@"));
    if (language == "POSIX" || !isLanguage(language)) return {};
    std::vector<std::string> languages = {language};
    std::size_t const end = language.find('_');
    if (end != std::string::npos) languages.push_back(language.substr(0, end));
    return languages;
}

}  // namespace qbsettings::texts
