#include <memory>
#include <new>
#include <string>

#include <settingscore/persistence/xml/validating/ParserErrors.hpp>
#include <settingscore/persistence/xml/validating/ParserText.hpp>
#include <settingscore/persistence/xml/validating/SettingsInputSource.hpp>
#include <settingscore/persistence/xml/validating/SettingsSaxErrorHandler.hpp>
#include <settingscore/persistence/xml/validating/ValidatingParser.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>

namespace settings::core {

namespace {

using xercesc::XMLUni;

std::string contentOf(ByteSource& bytes) {
    std::string content;
    std::string piece(std::size_t(1) << 16, '\0');
    while (std::size_t const count = bytes.read(piece.data(), piece.size()))
        content.append(piece, 0, count);
    return content;
}

class Builder : public xercesc::DefaultHandler {
public:
    Markup takeTop() { return std::move(document_.children.at(0)); }

    void setDocumentLocator(xercesc::Locator const* locator) override { locator_ = locator; }
    void startElement(XMLCh const*, XMLCh const* localName, XMLCh const*,
                      xercesc::Attributes const& attributes) override {
        Markup element;
        element.tag = utf8Of(localName);
        for (XMLSize_t i = 0; i < attributes.getLength(); ++i)
            element.attributes[utf8Of(attributes.getQName(i))] = utf8Of(attributes.getValue(i));
        element.line = locator_->getLineNumber();
        element.column = locator_->getColumnNumber();
        open_.back()->children.push_back(std::move(element));
        // Nothing is added beside an open element, so that the address stays.
        open_.push_back(&open_.back()->children.back());
    }
    void endElement(XMLCh const*, XMLCh const*, XMLCh const*) override { open_.pop_back(); }
    void characters(XMLCh const* text, XMLSize_t length) override {
        open_.back()->lastPiece = qf::i18n::to_string(ustring(text, length));
        open_.back()->text += open_.back()->lastPiece;
    }
    void startDTD(XMLCh const*, XMLCh const*, XMLCh const*) override {
        throw xercesc::SAXParseException(u"A settings file has no document type declaration",
                                         *locator_);
    }

private:
    Markup document_;
    std::vector<Markup*> open_{&document_};
    xercesc::Locator const* locator_ = nullptr;
};

Markup parse(NamedSource const& file) {
    std::string const content = contentOf(file.bytes);
    startParserOnce();
    Builder builder;
    parsing([&] {
        std::unique_ptr<xercesc::SAX2XMLReader> const reader(
            xercesc::XMLReaderFactory::createXMLReader());
        reader->setFeature(XMLUni::fgSAX2CoreValidation, false);
        reader->setFeature(XMLUni::fgXercesLoadExternalDTD, false);
        reader->setFeature(XMLUni::fgXercesLoadSchema, false);
        reader->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
        SettingsSaxErrorHandler errorHandler;
        ClosedEntityResolver resolver;
        reader->setContentHandler(&builder);
        reader->setLexicalHandler(&builder);
        reader->setErrorHandler(&errorHandler);
        reader->setEntityResolver(&resolver);
        reader->parse(xercesc::MemBufInputSource(reinterpret_cast<XMLByte const*>(content.data()),
                                                 content.size(), file.file.str().c_str()));
    });
    return builder.takeTop();
}

}  // namespace

Markup parseMarkup(NamedSource const& file) {
    try {
        return parse(file);
    } catch (xercesc::OutOfMemoryException const&) {
        throw std::bad_alloc();
    }
}

}  // namespace settings::core
