#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include <qbhost/CLocale.hpp>
#include <settingscore/host/Platform.hpp>

struct qu_fpc_context {};

namespace {
qu_fpc_context theContext;
}

qu_fpc_context* quGetFpcContext() { return &theContext; }

void* quGetMemoryContext() { return &theContext; }

void qu_initialize_fpc_context(void*, qu_fpc_context** context) { *context = &theContext; }

void qu_clear_fpc_context(qu_fpc_context*) {}

char* qu_g_fmt(qu_fpc_context*, char* buffer, double value) {
    if (std::isnan(value) || std::isinf(value)) {
        char* to = buffer;
        if (std::signbit(value)) *to++ = '-';
        std::strcpy(to, std::isnan(value) ? "nan" : "inf");
        return buffer;
    }
    // The shortest form of a double takes at most 24 characters.
    *std::to_chars(buffer, buffer + 63, value).ptr = '\0';
    return buffer;
}

double qu_strtod(qu_fpc_context*, char const* text, char const** end, int) {
    char* behind = nullptr;
    double const value = ::strtod_l(text, &behind, qbhost::detail::cLocale());
    if (end) *end = behind;
    return value;
}
