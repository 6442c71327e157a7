#pragma once

#include <locale.h>

namespace qbhost::detail {

/// The "C" locale for the functions of the C library that take one, whatever `setlocale` says.
inline locale_t cLocale() {
    static locale_t const locale = ::newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return locale;
}

}  // namespace qbhost::detail
