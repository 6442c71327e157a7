#include <settingscore/persistence/xml/XMLHelperFunctions.hpp>

#include <algorithm>

#include <boost/thread/lock_types.hpp>
#include <boost/thread/shared_mutex.hpp>
#include <settingscore/host/I18n.hpp>
#include <xercesc/sax2/Attributes.hpp>

namespace settings::core::XMLHelperFunctions {

std::string XmlString2String(XMLCh const* text) {
    if (!text) return {};
    XMLCh const* const end = text + std::char_traits<XMLCh>::length(text);
    // Names and words are ASCII but for rare cases.
    if (std::any_of(text, end, [](XMLCh unit) { return unit >= 0x80; })) {
        return qf::i18n::to_string(ustring(text, end));
    }
    return std::string(text, end);
}

bool isSameTag(XMLCh const* name, std::string const& tag) {
    std::size_t const length = std::char_traits<XMLCh>::length(name);
    return std::equal(name, name + length, tag.begin(), tag.end(),
                      [](XMLCh a, char b) { return a == static_cast<unsigned char>(b); });
}

std::string getAttribute(xercesc::Attributes const& attributes, XMLCh const* name) {
    return XmlString2String(attributes.getValue(name));
}

bool isTrue(xercesc::Attributes const& attributes, XMLCh const* name) {
    XMLCh const* const value = attributes.getValue(name);
    return value && std::char_traits<XMLCh>::length(value) == 4 &&
           std::char_traits<XMLCh>::compare(value, u"true", 4) == 0;
}

detail::HeldLock privateTreeLock() {
    struct PrivateLock {
        boost::shared_mutex mutex;
        boost::shared_lock<boost::shared_mutex> lock{mutex};
    };
    // One for all threads, as nobody wants the mutex otherwise.
    static auto const& held = *new PrivateLock;
    return held.lock;
}

}  // namespace settings::core::XMLHelperFunctions
