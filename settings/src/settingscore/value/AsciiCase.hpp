#pragma once

#include <algorithm>
#include <string>

namespace settings::core::detail {

/// The case of ASCII letters, whatever the process's locale takes for letters.
inline unsigned char foldedAscii(char c) {
    return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
}

/// The text with small letters.
inline std::string foldedAscii(std::string text) {
    for (char& c : text)
        c = static_cast<char>(foldedAscii(c));
    return text;
}

inline bool equalWithoutCase(std::string const& a, std::string const& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return foldedAscii(x) == foldedAscii(y);
           });
}

struct LessWithoutCase {
    bool operator()(std::string const& a, std::string const& b) const {
        return std::lexicographical_compare(
            a.begin(), a.end(), b.begin(), b.end(),
            [](char x, char y) { return foldedAscii(x) < foldedAscii(y); });
    }
};

}  // namespace settings::core::detail
