#pragma once

#include <array>
#include <string>

#include <settingscore/persistence/xml/DocumentHandler.hpp>
#include <settingscore/persistence/xml/validating/SettingsInputSource.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>

namespace settings::core {

/// Hands what the parser reads to a handler that knows nothing of it. Refuses what the schema has
/// no say in: a document type, so that no entity is ever declared, and other versions of XML.
class ParserEvents : public xercesc::DefaultHandler {
public:
    ParserEvents(DocumentHandler& handler, ReadState& readState)
        : handler_(handler), readState_(readState) {}

    void startElement(XMLCh const* uri, XMLCh const* localName, XMLCh const* qName,
                      xercesc::Attributes const& attributes) override;
    void endElement(XMLCh const* uri, XMLCh const* localName, XMLCh const* qName) override;
    void characters(XMLCh const* chars, XMLSize_t length) override;
    void setDocumentLocator(xercesc::Locator const* locator) override { locator_ = locator; }
    void startDTD(XMLCh const* name, XMLCh const* publicId, XMLCh const* systemId) override;
    /// The XML declaration. Other versions take characters that could not be written back.
    void startXML(XMLCh const* version) const;

private:
    [[noreturn]] void refuse(XMLCh const* message) const;

    DocumentHandler& handler_;
    ReadState& readState_;
    xercesc::Locator const* locator_ = nullptr;
    ElementAttributes attributes_;
    /// What `attributes_` refers to.
    std::array<std::string, attributeKindCount> values_;
};

}  // namespace settings::core
