#include <qbsettings/check/Markup.hpp>

#include <algorithm>
#include <memory>

#include <qbsettings/text/Failure.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/PlatformUtils.hpp>

namespace qbsettings {

namespace {

using qf::i18n::to_string;
using xercesc::XMLUni;

/// The parser as a process has one; never ended, since the library goes on using it.
void startParserOnce() {
    static bool const started = (xercesc::XMLPlatformUtils::Initialize(), true);
    static_cast<void>(started);
}

std::string contentOf(qf::ustring const& file) {
    qf::filesystem::sequential_reader reader(file);
    std::string content;
    std::string piece(std::size_t(1) << 16, '\0');
    while (std::size_t const count = reader.read(piece.data(), piece.size()))
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
        element.tag = to_string(localName);
        for (XMLSize_t i = 0; i < attributes.getLength(); ++i) {
            element.attributes[to_string(attributes.getQName(i))] =
                to_string(attributes.getValue(i));
        }
        element.line = locator_->getLineNumber();
        element.column = locator_->getColumnNumber();
        open_.back()->children.push_back(std::move(element));
        // Nothing is added beside an open element, so that the address stays.
        open_.push_back(&open_.back()->children.back());
    }
    void endElement(XMLCh const*, XMLCh const*, XMLCh const*) override { open_.pop_back(); }
    void characters(XMLCh const* text, XMLSize_t length) override {
        open_.back()->lastPiece = to_string(qf::ustring(text, length));
        open_.back()->text += open_.back()->lastPiece;
    }
    void startDTD(XMLCh const*, XMLCh const*, XMLCh const*) override {
        throw Failure("a settings file has no document type declaration");
    }
    xercesc::InputSource* resolveEntity(XMLCh const*, XMLCh const*) override {
        static XMLByte const nothing[1] = {0};
        return new xercesc::MemBufInputSource(nothing, 0, "");
    }

private:
    Markup document_;
    std::vector<Markup*> open_{&document_};
    xercesc::Locator const* locator_ = nullptr;
};

}  // namespace

std::string Markup::attribute(std::string const& name) const {
    auto const found = attributes.find(name);
    return found == attributes.end() ? std::string() : found->second;
}

Markup const* Markup::find(std::string const& tagWanted) const {
    auto const found = std::find_if(children.begin(), children.end(),
                                    [&](Markup const& child) { return child.tag == tagWanted; });
    return found == children.end() ? nullptr : &*found;
}

Markup readMarkup(qf::ustring const& file) {
    std::string const content = contentOf(file);
    startParserOnce();
    std::unique_ptr<xercesc::SAX2XMLReader> const reader(
        xercesc::XMLReaderFactory::createXMLReader());
    reader->setFeature(XMLUni::fgSAX2CoreValidation, false);
    reader->setFeature(XMLUni::fgXercesLoadExternalDTD, false);
    reader->setFeature(XMLUni::fgXercesLoadSchema, false);
    reader->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
    Builder builder;
    reader->setContentHandler(&builder);
    reader->setLexicalHandler(&builder);
    reader->setErrorHandler(&builder);
    reader->setEntityResolver(&builder);
    try {
        reader->parse(xercesc::MemBufInputSource(reinterpret_cast<XMLByte const*>(content.data()),
                                                 content.size(), file.c_str()));
    } catch (xercesc::SAXException const& error) {
        throw Failure(to_string(error.getMessage()));
    } catch (xercesc::XMLException const& error) {
        throw Failure(to_string(error.getMessage()));
    }
    return builder.takeTop();
}

}  // namespace qbsettings
