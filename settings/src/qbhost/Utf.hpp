#pragma once

#include <string>
#include <type_traits>

#include <boost/locale/utf.hpp>

namespace qbhost::detail {

/// Walks a UTF-8 or UTF-16 text: `onPoint` gets each code point, `onStray` each unit that is no
/// part of a well-formed sequence.
template <class Char, class OnPoint, class OnStray>
void decodeUtf(std::basic_string<Char> const& text, OnPoint onPoint, OnStray onStray) {
    using namespace boost::locale::utf;
    Char const* next = text.data();
    Char const* const end = next + text.size();
    while (next != end) {
        Char const* const start = next;
        // ASCII, which names and words are but for rare cases.
        if (std::make_unsigned_t<Char>(*start) < 0x80) {
            ++next;
            onPoint(static_cast<code_point>(*start));
            continue;
        }
        code_point const point = utf_traits<Char>::decode(next, end);
        if (point == illegal || point == incomplete) {
            // A bad sequence may have swallowed the start of a good one.
            next = start + 1;
            onStray(*start);
        } else {
            onPoint(point);
        }
    }
}

template <class Char>
void appendUtf(std::basic_string<Char>& to, boost::locale::utf::code_point point) {
    if (point < 0x80) {
        to += static_cast<Char>(point);
        return;
    }
    using Traits = boost::locale::utf::utf_traits<Char>;
    Char units[Traits::max_width];
    to.append(units, Traits::encode(point, units));
}

}  // namespace qbhost::detail
