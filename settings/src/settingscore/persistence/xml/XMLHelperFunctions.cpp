#include <settingscore/persistence/xml/XMLHelperFunctions.hpp>

#include <boost/thread/lock_types.hpp>
#include <boost/thread/shared_mutex.hpp>
#include <settingscore/host/I18n.hpp>
#include <xercesc/sax2/Attributes.hpp>

namespace settings::core::XMLHelperFunctions {

std::string XmlString2String(XMLCh const* text) {
    std::string narrow;
    if (!text) return narrow;
    for (XMLCh const* at = text; *at; ++at) {
        // Names and words are ASCII but for rare cases.
        if (*at >= 0x80) return qf::i18n::to_string(ustring(text));
        narrow += static_cast<char>(*at);
    }
    return narrow;
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
    thread_local PrivateLock const held;
    return held.lock;
}

}  // namespace settings::core::XMLHelperFunctions
