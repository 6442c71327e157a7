#include <qbsettings/text/Lines.hpp>

#include <algorithm>
#include <utility>

#include <nlohmann/json.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Json.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>

namespace qbsettings {

namespace {

constexpr char const* lineBlanks = " \t\r";

}  // namespace

std::vector<InputLine> linesOf(std::string const& text) {
    std::vector<InputLine> lines;
    std::size_t number = 0;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t const end = std::min(text.find('\n', at), text.size());
        std::string line = trimmed(text.substr(at, end - at), lineBlanks);
        at = end + 1;
        ++number;
        if (!line.empty() && line.front() != '#') lines.push_back({number, std::move(line)});
    }
    return lines;
}

Assignment parseAssignment(std::string const& line) {
    if (!isUtf8(line)) throw Failure("the line is not UTF-8");
    std::size_t const equals = line.find('=');
    if (equals == std::string::npos) throw Failure("a line is written as NAME = VALUE");
    return {trimmed(line.substr(0, equals), lineBlanks),
            trimmed(line.substr(equals + 1), lineBlanks)};
}

std::vector<std::string> elementsAsWritten(std::string const& written, KeyType const& type) {
    bool const isString = written.size() >= 2 && written.front() == '"' && written.back() == '"';
    if (isString) return {parseJsonString(written)};
    if (type.array) return parseJsonArray(written);
    if (type.any && !written.empty() && written.front() == '[') return parseJsonArray(written);
    return {written};
}

std::string asWritten(boost::any const& value, KeyType const& type) {
    Json const json = jsonOf(value, type);
    auto const dumped = [](Json const& element) {
        return element.dump(-1, ' ', false, Json::error_handler_t::replace);
    };
    if (json.is_array()) {
        std::vector<std::string> elements;
        for (Json const& element : json)
            elements.push_back(dumped(element));
        return "[" + join(elements, ", ") + "]";
    }
    std::vector<std::string> const texts = elementTexts(value);
    if (texts.empty()) return {};
    std::string const& text = texts.front();
    // As it stands, unless the line would be read as something else.
    bool const isPlain = !text.empty() && trimmed(text, lineBlanks) == text &&
                         asLine(text) == text && text.front() != '"' &&
                         !(type.any && text.front() == '[');
    return isPlain ? text : dumped(Json(text));
}

}  // namespace qbsettings
