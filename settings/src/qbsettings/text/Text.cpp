#include <qbsettings/text/Text.hpp>

#include <cstddef>

#include <boost/locale/utf.hpp>
#include <settingscore/host/I18n.hpp>

namespace qbsettings {

namespace {

/// Length of the sequence that begins at `at`, 0 if it is broken.
std::size_t sequenceLength(std::string_view text, std::size_t at) {
    using namespace boost::locale::utf;
    char const* next = text.data() + at;
    code_point const point = utf_traits<char>::decode(next, text.data() + text.size());
    if (point == illegal || point == incomplete) return 0;
    return static_cast<std::size_t>(next - text.data()) - at;
}

/// Names come from files and folders, where any byte can stand.
std::string wellFormed(std::string const& text) {
    return isUtf8(text) ? text : qf::i18n::to_string(qf::i18n::to_ustring(text));
}

}  // namespace

std::size_t wellFormedLength(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size()) {
        std::size_t const length = sequenceLength(text, at);
        if (length == 0) break;
        at += length;
    }
    return at;
}

bool isUtf8(std::string_view text) { return wellFormedLength(text) == text.size(); }

std::string pathText(ustring const& path) { return qf::i18n::to_string(path); }

std::string asColumn(std::string const& text) {
    std::string column;
    for (char const c : wellFormed(text)) {
        switch (c) {
            case '\t':
                column += "\\t";
                break;
            case '\n':
                column += "\\n";
                break;
            case '\r':
                column += "\\r";
                break;
            case '\\':
                column += "\\\\";
                break;
            default:
                column += c;
        }
    }
    return column;
}

std::string asLine(std::string const& text) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string line;
    for (std::size_t at = 0; at < text.size();) {
        auto const byte = static_cast<unsigned char>(text[at]);
        std::size_t const length = sequenceLength(text, at);
        if (byte == '\n') {
            line += "\\n";
        } else if (byte == '\t') {
            line += "\\t";
        } else if (length == 0 || byte < 0x20 || byte == 0x7F) {
            line += "\\x";
            line += digits[byte >> 4U];
            line += digits[byte & 0xFU];
        } else {
            line.append(text, at, length);
        }
        at += length == 0 ? 1 : length;
    }
    return line;
}

std::string trimmed(std::string const& text, char const* blanks) {
    std::size_t const first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string inQuotes(std::string const& text) { return "'" + text + "'"; }

}  // namespace qbsettings
