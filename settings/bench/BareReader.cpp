#include "BareReader.hpp"

#include <stdexcept>

#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUni.hpp>

namespace qbbench {

namespace {

struct Handler : xercesc::DefaultHandler {
    void error(xercesc::SAXParseException const&) override { fail(); }
    void fatalError(xercesc::SAXParseException const&) override { fail(); }
    [[noreturn]] static void fail() { throw std::runtime_error("the file is not valid"); }
};

}  // namespace

BareReader::BareReader(std::string const& schema)
    : location_("urn:quillbyte.zenbar.settings " + schema) {
    xercesc::XMLPlatformUtils::Initialize();
    grammars_ = std::make_unique<xercesc::XMLGrammarPoolImpl>();
    createReader()->loadGrammar(schema.c_str(), xercesc::Grammar::SchemaGrammarType, true);
    grammars_->lockPool();
}

std::unique_ptr<xercesc::SAX2XMLReader> BareReader::createReader() const {
    using xercesc::XMLUni;
    std::unique_ptr<xercesc::SAX2XMLReader> reader(xercesc::XMLReaderFactory::createXMLReader(
        xercesc::XMLPlatformUtils::fgMemoryManager, grammars_.get()));
    reader->setFeature(XMLUni::fgSAX2CoreNameSpaces, true);
    reader->setFeature(XMLUni::fgXercesSchema, true);
    reader->setFeature(XMLUni::fgXercesSchemaFullChecking, true);
    reader->setFeature(XMLUni::fgSAX2CoreNameSpacePrefixes, true);
    reader->setFeature(XMLUni::fgSAX2CoreValidation, true);
    reader->setFeature(XMLUni::fgXercesDynamic, false);
    reader->setFeature(XMLUni::fgXercesUseCachedGrammarInParse, true);
    XMLCh* location = xercesc::XMLString::transcode(location_.c_str());
    reader->setProperty(XMLUni::fgXercesSchemaExternalSchemaLocation, location);
    xercesc::XMLString::release(&location);
    return reader;
}

void BareReader::parse(std::string const& file) const {
    auto const reader = createReader();
    Handler handler;
    reader->setContentHandler(&handler);
    reader->setErrorHandler(&handler);
    reader->parse(file.c_str());
}

}  // namespace qbbench
