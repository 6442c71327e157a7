#pragma once

#include <string>
#include <string_view>

#include <settingscore/host/UString.hpp>

/// Text at the edges of the program: all of it is UTF-8, whatever the locale says.
namespace qbsettings {

using qf::ustring;

/// Length of the longest beginning that is well-formed UTF-8.
std::size_t wellFormedLength(std::string_view text);

/// True for well-formed UTF-8: no stray bytes, no overlong forms, no surrogates.
bool isUtf8(std::string_view text);

/// UTF-8 of a path for people; a byte that is none is shown as U+FFFD.
std::string pathText(ustring const& path);

/// A value as a column of a row: tab, line feed, carriage return and backslash as `\t`, `\n`, `\r`
/// and `\\`.
std::string asColumn(std::string const& text);

/// A text as a part of a one-line message: line ends and tabs as `\n` and `\t`, other control
/// characters and bytes that are no UTF-8 as `\xNN`.
std::string asLine(std::string const& text);

/// The text without the blanks at its ends.
std::string trimmed(std::string const& text, char const* blanks);

/// In single quotes, for messages.
std::string inQuotes(std::string const& text);

template <class Range>
std::string join(Range const& parts, char const* separator) {
    std::string text;
    bool first = true;
    for (std::string const& part : parts) {
        if (!first) text += separator;
        first = false;
        text += part;
    }
    return text;
}

}  // namespace qbsettings
