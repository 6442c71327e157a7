#include <qbsettings/Text.hpp>

#include <cstddef>

#include <settingscore/host/I18n.hpp>

namespace qbsettings {

namespace {

/// Length of the sequence that begins at `at`, 0 if it is broken.
std::size_t sequenceLength(std::string_view text, std::size_t at) {
    auto const byte = [&](std::size_t offset) {
        return at + offset < text.size() ? static_cast<unsigned char>(text[at + offset]) : 0U;
    };
    auto const continues = [&](std::size_t offset) { return (byte(offset) & 0xC0U) == 0x80U; };
    unsigned const first = byte(0);
    if (first < 0x80) return 1;
    if (first >= 0xC2 && first <= 0xDF) return continues(1) ? 2 : 0;
    if (first >= 0xE0 && first <= 0xEF) {
        unsigned const low = first == 0xE0 ? 0xA0 : 0x80;
        unsigned const high = first == 0xED ? 0x9F : 0xBF;
        return byte(1) >= low && byte(1) <= high && continues(2) ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        unsigned const low = first == 0xF0 ? 0x90 : 0x80;
        unsigned const high = first == 0xF4 ? 0x8F : 0xBF;
        return byte(1) >= low && byte(1) <= high && continues(2) && continues(3) ? 4 : 0;
    }
    return 0;
}

/// Names come from files and folders, where any byte can stand.
std::string wellFormed(std::string const& text) {
    return isUtf8(text) ? text : qf::i18n::to_string(qf::i18n::to_ustring(text));
}

}  // namespace

bool isUtf8(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        std::size_t const length = sequenceLength(text, at);
        if (length == 0) return false;
        at += length;
    }
    return true;
}

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
        std::size_t const length = sequenceLength(std::string_view(text).substr(at), 0);
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

std::string inQuotes(std::string const& text) { return "'" + text + "'"; }

}  // namespace qbsettings
