#include <settingscore/persistence/xml/XMLHelperFunctions.hpp>

#include <algorithm>

#include <boost/thread/lock_types.hpp>
#include <boost/thread/shared_mutex.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core::XMLHelperFunctions {

std::string XmlString2String(char16_t const* text) {
    if (!text) return {};
    char16_t const* const end = text + std::char_traits<char16_t>::length(text);
    // Names and words are ASCII but for rare cases.
    if (std::any_of(text, end, [](char16_t unit) { return unit >= 0x80; })) {
        return qf::i18n::to_string(ustring(text, end));
    }
    return std::string(text, end);
}

detail::HeldLock privateTreeLock() {
    struct PrivateLock {
        boost::shared_mutex mutex;
        boost::shared_lock<boost::shared_mutex> lock{mutex};
    };
    // One for all threads, as nobody wants the mutex otherwise.
    static auto const& held = detail::neverDestroyed<PrivateLock>();
    return held.lock;
}

}  // namespace settings::core::XMLHelperFunctions
