#include <qbsettings/texts/Languages.hpp>

#include <algorithm>
#include <cstdlib>

namespace qbsettings::texts {

namespace {

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isLetterOrDigit(char c) { return isLetter(c) || (c >= '0' && c <= '9'); }

bool isWord(std::string const& text, bool (*mayHave)(char)) {
    return text.size() >= 2 && text.size() <= 8 && std::all_of(text.begin(), text.end(), mayHave);
}

}  // namespace

bool isLanguage(std::string const& text) {
    // What comes from the environment becomes part of a path: nothing else gets through.
    std::size_t const end = std::min(text.find('_'), text.size());
    return isWord(text.substr(0, end), isLetter) &&
           (end == text.size() || isWord(text.substr(end + 1), isLetterOrDigit));
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
