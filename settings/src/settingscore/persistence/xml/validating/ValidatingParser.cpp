#include <settingscore/persistence/xml/validating/ValidatingParser.hpp>

#include <memory>
#include <new>
#include <string>

#include <settingscore/host/I18n.hpp>
#include <settingscore/persistence/xml/UnreadableNow.hpp>
#include <settingscore/persistence/xml/validating/ParserErrors.hpp>
#include <settingscore/persistence/xml/validating/ParserEvents.hpp>
#include <settingscore/persistence/xml/validating/SchemaGrammars.hpp>
#include <settingscore/persistence/xml/validating/SettingsInputSource.hpp>
#include <settingscore/persistence/xml/validating/SettingsSaxErrorHandler.hpp>
#include <settingscore/tree/FileWords.hpp>
#include <xercesc/framework/XMLGrammarPool.hpp>
#include <xercesc/parsers/SAX2XMLReaderImpl.hpp>
#include <xercesc/validators/DTD/DTDElementDecl.hpp>

namespace settings::core {

using exception::ErrorReadingSettingsData;
using qf::filesystem::path;
using xercesc::XMLUni;

namespace {

/// The namespace, and the schema's file behind it, as the parser wants them: without blanks inside.
ustring schemaLocation(path const& schema) {
    std::string location = std::string(detail::settingsXMLNameSpace) + " ";
    for (char const c : qf::i18n::to_string(schema.str())) {
        if (c == ' ' || (c >= '\t' && c <= '\r')) {
            location += "%20";
        } else {
            location += c;
        }
    }
    return qf::i18n::to_ustring(location);
}

/// The parser. It tells also what it would keep to itself.
class FileParser : private ParseGrammars, public xercesc::SAX2XMLReaderImpl {
public:
    FileParser(SchemaGrammars const& grammars, ParserEvents& events)
        : ParseGrammars(grammars),
          SAX2XMLReaderImpl(xercesc::XMLPlatformUtils::fgMemoryManager,
                            static_cast<ParseGrammars*>(this)),
          events_(events) {}

    void XMLDecl(XMLCh const* version, XMLCh const*, XMLCh const*, XMLCh const*) override {
        events_.startXML(version);
    }
    // Lexical handlers do not hear of a document type without a subset.
    void doctypeDecl(xercesc::DTDElementDecl const& root, XMLCh const* publicId,
                     XMLCh const* systemId, bool, bool) override {
        events_.startDTD(root.getFullName(), publicId, systemId);
    }

private:
    ParserEvents& events_;
};

std::unique_ptr<FileParser> createReader(NamedSource const& schema, ParserEvents& events,
                                         ReadState& schemaState) {
    ustring location = schemaLocation(schema.file);
    std::unique_ptr<FileParser> reader;
    parsing([&] {
        auto const grammars = schemaGrammars(schema, location, schemaState);
        try {
            reader = std::make_unique<FileParser>(grammars, events);
        } catch (xercesc::XMLException const&) {
            throw ErrorReadingSettingsData(exception::ReaderNotCreated,
                                           u"Failed to create XMLReader.");
        }
    });
    try {
        reader->setFeature(XMLUni::fgSAX2CoreNameSpaces, true);
        reader->setFeature(XMLUni::fgXercesSchema, true);
        reader->setFeature(XMLUni::fgXercesSchemaFullChecking, true);
        reader->setFeature(XMLUni::fgSAX2CoreNameSpacePrefixes, true);
        reader->setFeature(XMLUni::fgSAX2CoreValidation, true);
        reader->setFeature(XMLUni::fgXercesDynamic, false);
        reader->setFeature(XMLUni::fgXercesUseCachedGrammarInParse, true);
        // The schema that a file names itself is never looked at.
        reader->setFeature(XMLUni::fgXercesLoadSchema, false);
        reader->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
        reader->setProperty(XMLUni::fgXercesSchemaExternalSchemaLocation, location.data());
    } catch (xercesc::SAXNotRecognizedException const& error) {
        throw ErrorReadingSettingsData(exception::FeatureNotRecognized, textOf(error.getMessage()));
    } catch (xercesc::SAXNotSupportedException const& error) {
        throw ErrorReadingSettingsData(exception::FeatureNotSupported, textOf(error.getMessage()));
    }
    return reader;
}

/// What keeps the parser from its work is no fault of the file that it was wanted for.
std::unique_ptr<FileParser> readyReader(NamedSource const& schema, ParserEvents& events) {
    ReadState schemaState;
    try {
        startParserOnce();
        return createReader(schema, events, schemaState);
    } catch (ErrorReadingSettingsData const& error) {
        throw UnreadableNow(error.getErrorCode(), error.getDetailErrorMsg(),
                            schemaState.errorNumber);
    }
}

void parse(FileParser& reader, NamedSource const& file, ReadState& state) {
    try {
        parsing([&] { reader.parse(SettingsInputSource(file, state)); });
    } catch (ErrorReadingSettingsData const& error) {
        if (!UnreadableNow::mayPass(state.errorNumber)) throw;
        throw UnreadableNow(error.getErrorCode(),
                            error.getDetailErrorMsg() + u" (unreadable at this time)",
                            state.errorNumber);
    }
}

void parseFile(NamedSource const& schema, NamedSource const& file, DocumentHandler& handler) {
    ReadState state;
    ParserEvents events(handler, state);
    std::unique_ptr<FileParser> const reader = readyReader(schema, events);
    SettingsSaxErrorHandler errorHandler;
    ClosedEntityResolver resolver;
    reader->setContentHandler(&events);
    reader->setLexicalHandler(&events);
    reader->setErrorHandler(&errorHandler);
    reader->setEntityResolver(&resolver);
    parse(*reader, file, state);
}

}  // namespace

void parseValidating(NamedSource const& schema, NamedSource const& file, DocumentHandler& handler) {
    try {
        parseFile(schema, file, handler);
    } catch (xercesc::OutOfMemoryException const&) {
        // The parser's own, which is no std::exception.
        throw std::bad_alloc();
    }
}

}  // namespace settings::core
