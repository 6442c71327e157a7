#include <atomic>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <utility>

#include <boost/log/attributes/constant.hpp>
#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_channel_logger.hpp>
#include <boost/log/utility/exception_handler.hpp>
#include <boost/smart_ptr/make_shared.hpp>
#include <qbhost/QbHost.hpp>
#include <qbhost/Replaceable.hpp>
#include <settingscore/host/Log.hpp>

namespace {

namespace logging = boost::log;

/// Marks the host's records among those of a program that uses the same logging core.
char const* const mark = "QbHost";

class Backend : public logging::sinks::basic_sink_backend<logging::sinks::synchronized_feeding> {
public:
    explicit Backend(qbhost::LogSink sink) : sink_(std::move(sink)) {}

    void consume(logging::record_view const& record) {
        auto const channel = logging::extract<std::string>("Channel", record);
        auto const severity = logging::extract<int>("Severity", record);
        auto const text = logging::extract<std::string>("Message", record);
        if (channel && severity && text) sink_(channel.get(), severity.get(), text.get());
    }

private:
    qbhost::LogSink sink_;
};

using Sink = logging::sinks::synchronous_sink<Backend>;

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
        std::lock_guard<std::mutex> const lock(mutex_);
        enabled_.store(false, std::memory_order_release);
        if (sink_) logging::core::get()->remove_sink(sink_);
        sink_.reset();
        if (!sink) return;
        sink_ = boost::make_shared<Sink>(boost::make_shared<Backend>(std::move(sink)));
        sink_->set_filter(logging::expressions::has_attr<bool>(mark));
        sink_->set_exception_handler(logging::make_exception_suppressor());
        logging::core::get()->add_sink(sink_);
        enabled_.store(true, std::memory_order_release);
    }

private:
    std::mutex mutex_;
    std::atomic<bool> enabled_{false};
    boost::shared_ptr<Sink> sink_;
};

Logging& state() { return qbhost::detail::immortal<Logging>(); }

}  // namespace

bool qf::log::enabled(std::string const&, int) { return state().enabled(); }

void qf::log::write(std::string const& logger, int severity, std::string const& text) {
    if (!state().enabled()) return;
    logging::sources::severity_channel_logger<int> source(logging::keywords::channel = logger);
    source.add_attribute(mark, logging::attributes::constant<bool>(true));
    BOOST_LOG_SEV(source, severity) << text;
}

void qbhost::enableLog(LogSink sink) { state().enable(std::move(sink)); }
