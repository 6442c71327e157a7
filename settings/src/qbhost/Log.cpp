#include <atomic>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <utility>

#include <qbhost/QbHost.hpp>
#include <qbhost/Replaceable.hpp>
#include <settingscore/host/Log.hpp>

// A logging library would cost each program that starts more than all else that is in this one.

namespace {

void toStandardError(std::string const& logger, int severity, std::string const& text) {
    std::cerr << logger + " [" + std::to_string(severity) + "] " + text + "\n";
}

class Logging {
public:
    Logging() {
        char const* const wanted = std::getenv("QBHOST_LOG");
        if (wanted && *wanted != '\0') enable(toStandardError);
    }

    bool enabled() const { return enabled_.load(std::memory_order_acquire); }

    void enable(qbhost::LogSink sink) {
        bool const isThere = static_cast<bool>(sink);
        sink_.set(std::move(sink));
        enabled_.store(isThere, std::memory_order_release);
    }

    void write(std::string const& logger, int severity, std::string const& text) {
        // A sink may log itself, or put another one in its place.
        std::lock_guard<std::recursive_mutex> const lock(oneAtATime_);
        auto const sink = sink_.get();
        try {
            if (*sink) (*sink)(logger, severity, text);
        } catch (...) {
            // Whoever writes a record has nothing to do with what becomes of it.
        }
    }

private:
    std::atomic<bool> enabled_{false};
    qbhost::detail::Replaceable<qbhost::LogSink> sink_;
    std::recursive_mutex oneAtATime_;
};

Logging& state() { return qbhost::detail::immortal<Logging>(); }

}  // namespace

bool qf::log::enabled(std::string const&, int) { return state().enabled(); }

void qf::log::write(std::string const& logger, int severity, std::string const& text) {
    if (state().enabled()) state().write(logger, severity, text);
}

void qbhost::enableLog(LogSink sink) { state().enable(std::move(sink)); }
