#include <settingscore/persistence/xml/validating/ParserEvents.hpp>

#include <settingscore/persistence/xml/validating/ParserText.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/Attributes.hpp>

namespace settings::core {

void ParserEvents::startElement(XMLCh const*, XMLCh const* localName, XMLCh const*,
                                xercesc::Attributes const& attributes) {
    readState_.bytesSinceTag = 0;
    XMLSize_t const count = attributes.getLength();
    texts_.clear();
    for (XMLSize_t i = 0; i < count; ++i) {
        texts_.push_back(utf8Of(attributes.getQName(i)));
        texts_.push_back(utf8Of(attributes.getValue(i)));
    }
    attributes_.clear();
    for (std::size_t i = 0; i < texts_.size(); i += 2)
        attributes_.add(texts_[i], texts_[i + 1]);
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
