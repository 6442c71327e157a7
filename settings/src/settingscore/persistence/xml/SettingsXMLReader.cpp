#include <settingscore/persistence/xml/SettingsXMLReader.hpp>

#include <cerrno>
#include <memory>
#include <new>
#include <set>
#include <string>

#include <settingscore/errors/FileExceptions.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/persistence/xml/SchemaGrammars.hpp>
#include <settingscore/persistence/xml/SettingsInputSource.hpp>
#include <settingscore/persistence/xml/SettingsSaxErrorHandler.hpp>
#include <settingscore/persistence/xml/SettingsSaxHandler.hpp>
#include <settingscore/persistence/xml/UnreadableNow.hpp>
#include <settingscore/tree/FileWords.hpp>
#include <settingscore/tree/MergeEngine.hpp>
#include <xercesc/framework/XMLGrammarPool.hpp>
#include <xercesc/parsers/SAX2XMLReaderImpl.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/validators/DTD/DTDElementDecl.hpp>

namespace settings::core {

using exception::ErrorReadingSettingsData;
using qf::filesystem::path;
using xercesc::XMLUni;

namespace {

ustring textOf(XMLCh const* message) { return message ? ustring(message) : ustring(); }

ustring numberOf(XMLFileLoc number) { return qf::i18n::to_ustring(std::to_string(number)); }

/// Runs work of the parser: its exceptions become the reader's.
template <class Work>
void parsing(Work const& work) {
    try {
        work();
    } catch (xercesc::SAXParseException const& error) {
        throw ErrorReadingSettingsData(
            exception::ParseFailed, u"LineNum=" + numberOf(error.getLineNumber()) + u"  ColNum=" +
                                        numberOf(error.getColumnNumber()) + u"  " +
                                        textOf(error.getMessage()));
    } catch (xercesc::SAXException const& error) {
        throw ErrorReadingSettingsData(exception::ContentRefused, textOf(error.getMessage()));
    } catch (xercesc::XMLException const& error) {
        throw ErrorReadingSettingsData(exception::ContentRefused, textOf(error.getMessage()));
    }
}

void startParserOnce() {
    // Never ended: another user of the parser in the process would lose it.
    static bool const started = [] {
        try {
            xercesc::XMLPlatformUtils::Initialize();
        } catch (xercesc::XMLException const&) {
            throw ErrorReadingSettingsData(exception::SaxPlugInNotFound,
                                           u"Failed to find SAX plug in.");
        }
        return true;
    }();
    static_cast<void>(started);
}

path schemaFile() {
    return path(qf::filesystem::get_install_path()) / u"settings" / u"src" / u"settingscore" /
           u"settings.xsd";
}

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

/// The parser. It tells the handler also what it would keep to itself.
class FileParser : private ParseGrammars, public xercesc::SAX2XMLReaderImpl {
public:
    FileParser(SchemaGrammars const& grammars, SettingsSaxHandler& handler)
        : ParseGrammars(grammars),
          SAX2XMLReaderImpl(xercesc::XMLPlatformUtils::fgMemoryManager,
                            static_cast<ParseGrammars*>(this)),
          handler_(handler) {}

    void XMLDecl(XMLCh const* version, XMLCh const*, XMLCh const*, XMLCh const*) override {
        handler_.startXML(version);
    }
    // Lexical handlers do not hear of a document type without a subset.
    void doctypeDecl(xercesc::DTDElementDecl const& root, XMLCh const* publicId,
                     XMLCh const* systemId, bool, bool) override {
        handler_.startDTD(root.getFullName(), publicId, systemId);
    }

private:
    SettingsSaxHandler& handler_;
};

std::unique_ptr<FileParser> createReader(SettingsSaxHandler& handler, ReadState& schemaState) {
    path const schema = schemaFile();
    ustring location = schemaLocation(schema);
    std::unique_ptr<FileParser> reader;
    parsing([&] {
        auto const grammars = schemaGrammars(schema, location, schemaState);
        try {
            reader = std::make_unique<FileParser>(grammars, handler);
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
std::unique_ptr<FileParser> readyReader(SettingsSaxHandler& handler) {
    ReadState schemaState;
    try {
        startParserOnce();
        return createReader(handler, schemaState);
    } catch (ErrorReadingSettingsData const& error) {
        throw UnreadableNow(error.getErrorCode(), error.getDetailErrorMsg(),
                            schemaState.errorNumber);
    }
}

void parse(FileParser& reader, SettingsSaxHandler& handler, path const& file) {
    ReadState& state = handler.readState();
    try {
        parsing([&] { reader.parse(SettingsInputSource(file, state)); });
    } catch (ErrorReadingSettingsData const& error) {
        if (!UnreadableNow::mayPass(state.errorNumber)) throw;
        throw UnreadableNow(error.getErrorCode(),
                            error.getDetailErrorMsg() + u" (unreadable at this time)",
                            state.errorNumber);
    }
}

boost::shared_ptr<SettingsImpl> readChain(ustring const& startingFile) {
    SettingsSaxHandler handler;
    std::unique_ptr<FileParser> const reader = readyReader(handler);
    SettingsSaxErrorHandler errorHandler;
    ClosedEntityResolver resolver;
    reader->setContentHandler(&handler);
    reader->setLexicalHandler(&handler);
    reader->setErrorHandler(&errorHandler);
    reader->setEntityResolver(&resolver);

    path current = qf::filesystem::absolute(startingFile, path());
    path const baseDir = current.parent_path();
    std::set<path> visited;
    boost::shared_ptr<SettingsImpl> result;
    ustring conflictText;
    // Judges nothing in a load, nor while the files are put together.
    Validator topValidator;
    do {
        handler.setSettings({});
        current = qf::filesystem::absolute(current, baseDir);
        // A chain of files that comes round to itself ends without an error.
        if (!visited.insert(current).second) continue;
        parse(*reader, handler, current);
        if (result) {
            result = detail::MergeEngine::foldFile(result, handler.getSettings(),
                                                   SettingsLevelManager::userLevel(), false,
                                                   conflictText, current.str())
                         .result;
        } else {
            result = handler.getSettings();
            topValidator.swap(result->contentInternal().validator);
        }
    } while (handler.popNextPaths(current));

    if (!conflictText.empty()) {
        throw ErrorReadingSettingsData(
            exception::MergeFailed,
            u"Error merging Settings' files. The starting file is: " + startingFile);
    }
    if (result) topValidator.swap(result->contentInternal().validator);
    return result;
}

}  // namespace

bool UnreadableNow::mayPass(int errorNumber) {
    switch (errorNumber) {
        case EAGAIN:
        case EHOSTDOWN:
        case EINTR:
        case EIO:
        case EMFILE:
        case ENFILE:
        case ENOBUFS:
        case ENOMEM:
        case ENOTCONN:
        case ESTALE:
        case ETIMEDOUT:
            return true;
        default:
            return false;
    }
}

boost::shared_ptr<SettingsImpl> SettingsXMLReader::getParsedSettings(ustring const& startingFile) {
    try {
        return readChain(startingFile);
    } catch (xercesc::OutOfMemoryException const&) {
        // The parser's own, which is no std::exception.
        throw std::bad_alloc();
    }
}

}  // namespace settings::core
