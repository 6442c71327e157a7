#include <settingscore/persistence/xml/validating/ParserEvents.hpp>

#include <settingscore/persistence/xml/validating/ParserText.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/Attributes.hpp>

namespace settings::core {

void ParserEvents::startElement(XMLCh const*, XMLCh const* localName, XMLCh const*,
                                xercesc::Attributes const& attributes) {
    readState_.bytesSinceTag = 0;
    attributes_.clear();
    for (XMLSize_t i = 0; i < attributes.getLength(); ++i) {
        AttributeKind const kind = attributeKind(utf8Of(attributes.getQName(i)));
        if (kind == AttributeKind::unknown) continue;  // Of namespaces, and the like.
        std::string& value = values_[static_cast<std::size_t>(kind)];
        value = utf8Of(attributes.getValue(i));
        attributes_.set(kind, value);
    }
    handler_.startElement(utf8Of(localName), attributes_);
}

void ParserEvents::endElement(XMLCh const*, XMLCh const* localName, XMLCh const*) {
    readState_.bytesSinceTag = 0;
    handler_.endElement(utf8Of(localName));
}

void ParserEvents::characters(XMLCh const* chars, XMLSize_t length) {
    handler_.characters(ustring(chars, length));
}

void ParserEvents::startDTD(XMLCh const*, XMLCh const*, XMLCh const*) {
    refuse(u"A settings file has no document type declaration");
}

void ParserEvents::startXML(XMLCh const* version) const {
    if (version != ustring(u"1.0")) refuse(u"A settings file is of XML version 1.0");
}

void ParserEvents::refuse(XMLCh const* message) const {
    if (locator_) throw xercesc::SAXParseException(message, *locator_);
    throw xercesc::SAXParseException(message, u"", u"", 0, 0);
}

}  // namespace settings::core
