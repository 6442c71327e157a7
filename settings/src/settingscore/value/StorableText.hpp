#pragma once

#include <cstddef>
#include <string>

#include <settingscore/host/UString.hpp>

namespace settings::core {

/// A UTF-16 unit for messages: "U+000D".
inline std::string nameOfUnit(char16_t unit) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string name = "U+";
    for (unsigned shift = 16; shift != 0; shift -= 4)
        name += digits[(static_cast<unsigned>(unit) >> (shift - 4)) & 0xFU];
    return name;
}

/// The first character of a text that would not read back from a settings file, as "U+XXXX"; empty
/// if there is none. A file holds neither control characters but tab and line feed, nor U+FFFE,
/// U+FFFF and lone surrogates. A carriage return would come back as a line feed.
inline std::string unstorableCharacter(ustring const& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        char16_t const c = text[i];
        // Most texts are nothing else.
        if (c >= 0x20 && c < 0xD800) continue;
        bool const low = i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF;
        if (c >= 0xD800 && c <= 0xDBFF && low) {
            ++i;
        } else if ((c < 0x20 && c != u'\t' && c != u'\n') || (c >= 0xD800 && c <= 0xDFFF) ||
                   c >= 0xFFFE) {
            return nameOfUnit(c);
        }
    }
    return {};
}

}  // namespace settings::core
