#pragma once

#include <algorithm>
#include <string>

#include <settingscore/host/I18n.hpp>
#include <xercesc/util/XercesDefs.hpp>

namespace settings::core {

/// A text of the parser's, whose characters are UTF-16 as a `ustring`'s are. Depends on no locale.
/// Empty for a null text.
inline std::string utf8Of(XMLCh const* text) {
    if (!text) return {};
    XMLCh const* const end = text + std::char_traits<XMLCh>::length(text);
    // Names and words are ASCII but for rare cases.
    if (std::any_of(text, end, [](XMLCh unit) { return unit >= 0x80; }))
        return qf::i18n::to_string(ustring(text, end));
    return std::string(text, end);
}

}  // namespace settings::core
