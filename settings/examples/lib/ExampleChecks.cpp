// Functions that the example products name in their files: packagename="examplechecks" finds this
// library as libqbexamplechecks.so. They have C linkage and are exported under their plain names.

#include <algorithm>
#include <cctype>
#include <cmath>
#include <string>
#include <thread>

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/errors/SettingsException.hpp>
#include <settingscore/host/I18n.hpp>

#define EXAMPLE_API extern "C" __attribute__((visibility("default")))

namespace settings::core {
class Settings;
}

namespace {

using settings::core::Settings;
using settings::core::SettingsException;

// Throwing is how a validator refuses; the text reaches the person who set the value.
[[noreturn]] void refuse(std::string const& id, std::string const& text, std::string const& key) {
    throw SettingsException("examples:" + id, text, key);
}

bool isLabel(std::string const& label) {
    return !label.empty() && label.size() <= 63 && label.front() != '-' && label.back() != '-' &&
           std::all_of(label.begin(), label.end(), [](unsigned char c) {
               return c < 128 && (std::isalnum(c) != 0 || c == '-');
           });
}

}  // namespace

// Guards the whole group of the margins: the carriage moves in steps of half a millimetre. It
// judges each value by itself: while a file is loaded it may run before the values beside it are
// there.
EXAMPLE_API void checkMargin(boost::shared_ptr<Settings const> const&, std::string const& key,
                             boost::any const& value) {
    // The type has been checked before, and the key is a double.
    double const millimetres = boost::any_cast<double>(value);
    if (std::fmod(millimetres, 0.5) != 0) {
        refuse("MarginStep", "the margin \"" + key + "\" must be a multiple of 0.5 mm", key);
    }
}

EXAMPLE_API void checkHostName(boost::shared_ptr<Settings const> const&, std::string const& key,
                               boost::any const& value) {
    std::string const name = qf::i18n::to_string(boost::any_cast<qf::ustring>(value));
    std::string::size_type from = 0;
    bool isValid = name.size() <= 253;
    while (isValid && from != std::string::npos) {
        std::string::size_type const dot = name.find('.', from);
        isValid = isLabel(name.substr(from, dot == std::string::npos ? dot : dot - from));
        from = dot == std::string::npos ? dot : dot + 1;
    }
    if (!isValid) refuse("HostName", "\"" + name + "\" is no host name", key);
}

// A runtime default: its result has to be of the key's own type, here int32.
EXAMPLE_API void defaultWorkers(boost::any* result) {
    int const cores = static_cast<int>(std::thread::hardware_concurrency());
    *result = std::max(1, cores - 1);
}
