#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <string>
#include <utility>

#include <qbhost/CLocale.hpp>
#include <qbhost/QbHost.hpp>
#include <qbhost/Replaceable.hpp>
#include <settingscore/host/Platform.hpp>

namespace {

struct Console {
    qbhost::ConsoleSink output;
    qbhost::ConsoleSink error;
};

qbhost::detail::Replaceable<Console>& console() {
    return qbhost::detail::immortal<qbhost::detail::Replaceable<Console>>();
}

void print(int stream, std::string const& text) {
    auto const sinks = console().get();
    qbhost::ConsoleSink const& sink = stream == 0 ? sinks->output : sinks->error;
    if (sink) {
        sink(text);
        return;
    }
    std::FILE* const file = stream == 0 ? stdout : stderr;
    std::fwrite(text.data(), 1, text.size(), file);
    std::fflush(file);
}

/// Numbers print as in the "C" locale while this lives.
class CLocaleScope {
public:
    CLocaleScope() : previous_(::uselocale(qbhost::detail::cLocale())) {}
    ~CLocaleScope() { ::uselocale(previous_); }
    CLocaleScope(CLocaleScope const&) = delete;
    CLocaleScope& operator=(CLocaleScope const&) = delete;

private:
    locale_t previous_;
};

}  // namespace

void quPrintf(char const* format, ...) {
    std::string text;
    {
        CLocaleScope const scope;
        std::va_list arguments;
        va_start(arguments, format);
        std::va_list again;
        va_copy(again, arguments);
        int const length = std::vsnprintf(nullptr, 0, format, arguments);
        if (length > 0) {
            text.resize(static_cast<std::size_t>(length));
            std::vsnprintf(text.data(), text.size() + 1, format, again);
        }
        va_end(again);
        va_end(arguments);
    }
    print(0, text);
}

void quPutsn(int stream, char const* text, int length) {
    if (length > 0) print(stream, std::string(text, static_cast<std::size_t>(length)));
}

void qbhost::setConsole(ConsoleSink output, ConsoleSink error) {
    console().set({std::move(output), std::move(error)});
}
