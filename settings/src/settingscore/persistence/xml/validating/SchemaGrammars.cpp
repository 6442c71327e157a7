#include <settingscore/persistence/xml/validating/SchemaGrammars.hpp>

#include <map>
#include <memory>
#include <mutex>

#include <settingscore/host/I18n.hpp>
#include <settingscore/persistence/xml/validating/SettingsSaxErrorHandler.hpp>
#include <settingscore/tree/FileWords.hpp>
#include <settingscore/value/NeverDestroyed.hpp>
#include <xercesc/framework/XMLGrammarPoolImpl.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/validators/datatype/DatatypeValidator.hpp>
#include <xercesc/validators/schema/SchemaAttDef.hpp>
#include <xercesc/validators/schema/SchemaGrammar.hpp>

namespace settings::core {

namespace {

/// A type's patterns are set up when the first text is compared with them.
void completeType(xercesc::DatatypeValidator* type) {
    if (!type) return;
    try {
        type->validate(u"a", nullptr, xercesc::XMLPlatformUtils::fgMemoryManager);
    } catch (xercesc::XMLException const&) {
        // A type that doesn't take this text has compared it all the same.
    }
}

/// The parser makes parts of a grammar when they are first needed, without a lock: of two parses
/// at once the one could meet a part that the other has half made. So all are made beforehand.
void completeGrammar(xercesc::SchemaGrammar& grammar) {
    auto elements = grammar.getElemEnumerator();
    while (elements.hasMoreElements()) {
        xercesc::SchemaElementDecl& element = elements.nextElement();
        completeType(element.getDatatypeValidator());
        xercesc::ComplexTypeInfo* const type = element.getComplexTypeInfo();
        if (!type) continue;
        type->getContentModel();
        xercesc::XMLAttDefList& attributes = type->getAttDefList();
        for (XMLSize_t i = 0; i < attributes.getAttDefCount(); ++i) {
            auto& attribute = static_cast<xercesc::SchemaAttDef&>(attributes.getAttDef(i));
            completeType(attribute.getDatatypeValidator());
        }
    }
}

}  // namespace

SchemaGrammars schemaGrammars(NamedSource const& schema, ustring const& location,
                              ReadState& state) {
    using Pools = std::map<ustring, SchemaGrammars>;
    static std::mutex mutex;
    // Never destroyed: the parser is never ended either, and parses may go on in static
    // destructors.
    static auto& pools = detail::neverDestroyed<Pools>();

    std::lock_guard<std::mutex> const lock(mutex);
    auto const found = pools.find(location);
    if (found != pools.end()) return found->second;

    auto pool = std::make_unique<xercesc::XMLGrammarPoolImpl>();
    {
        std::unique_ptr<xercesc::SAX2XMLReader> const reader(
            xercesc::XMLReaderFactory::createXMLReader(xercesc::XMLPlatformUtils::fgMemoryManager,
                                                       pool.get()));
        SettingsSaxErrorHandler errorHandler;
        ClosedEntityResolver resolver;
        reader->setFeature(xercesc::XMLUni::fgXercesSchemaFullChecking, true);
        reader->setErrorHandler(&errorHandler);
        reader->setEntityResolver(&resolver);
        auto* const grammar = dynamic_cast<xercesc::SchemaGrammar*>(reader->loadGrammar(
            SettingsInputSource(schema, state), xercesc::Grammar::SchemaGrammarType, true));
        // Without it every good file would be refused, for as long as the process lives.
        if (!grammar || qf::i18n::to_string(ustring(grammar->getTargetNamespace())) !=
                            detail::settingsXMLNameSpace) {
            throw xercesc::SAXException(
                (schema.file.str() + u" is no schema of settings files").c_str());
        }
        completeGrammar(*grammar);
    }
    // Asked for before the pool is locked and hands out one that takes more names.
    xercesc::XMLStringPool const& names = *pool->getURIStringPool();
    pool->lockPool();
    SchemaGrammars const grammars{*pool, names};
    pools.emplace(location, grammars);
    static_cast<void>(pool.release());
    return grammars;
}

// What would change the shared grammars does nothing, as in any locked pool.

ParseGrammars::ParseGrammars(SchemaGrammars const& shared)
    : shared_(shared.pool), names_(&shared.names) {}

bool ParseGrammars::cacheGrammar(xercesc::Grammar*) { return false; }

xercesc::Grammar* ParseGrammars::retrieveGrammar(xercesc::XMLGrammarDescription* description) {
    return shared_.retrieveGrammar(description);
}

xercesc::Grammar* ParseGrammars::orphanGrammar(XMLCh const*) { return nullptr; }

xercesc::RefHashTableOfEnumerator<xercesc::Grammar> ParseGrammars::getGrammarEnumerator() const {
    return shared_.getGrammarEnumerator();
}

bool ParseGrammars::clear() { return false; }

void ParseGrammars::lockPool() {}

void ParseGrammars::unlockPool() {}

xercesc::DTDGrammar* ParseGrammars::createDTDGrammar() { return shared_.createDTDGrammar(); }

xercesc::SchemaGrammar* ParseGrammars::createSchemaGrammar() {
    return shared_.createSchemaGrammar();
}

xercesc::XMLDTDDescription* ParseGrammars::createDTDDescription(XMLCh const* systemId) {
    return shared_.createDTDDescription(systemId);
}

xercesc::XMLSchemaDescription* ParseGrammars::createSchemaDescription(
    XMLCh const* targetNamespace) {
    return shared_.createSchemaDescription(targetNamespace);
}

xercesc::XSModel* ParseGrammars::getXSModel(bool& wasChanged) {
    return shared_.getXSModel(wasChanged);
}

xercesc::XMLStringPool* ParseGrammars::getURIStringPool() { return &names_; }

void ParseGrammars::serializeGrammars(xercesc::BinOutputStream* stream) {
    shared_.serializeGrammars(stream);
}

void ParseGrammars::deserializeGrammars(xercesc::BinInputStream*) {}

}  // namespace settings::core
