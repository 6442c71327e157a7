#pragma once

#include <settingscore/host/UString.hpp>
#include <settingscore/persistence/xml/validating/SettingsInputSource.hpp>
#include <xercesc/framework/XMLGrammarPool.hpp>
#include <xercesc/util/SynchronizedStringPool.hpp>

namespace settings::core {

struct SchemaGrammars {
    xercesc::XMLGrammarPool& pool;
    /// The names that the pool's grammars use. They stay as they are.
    xercesc::XMLStringPool const& names;
};

/// The parsed schema of a location. It is read and parsed once, locked, and then shared by the
/// parsers of all threads for the rest of the process; a failed attempt is repeated by the next
/// caller. `state` tells how the reading went.
/// @throws xercesc::SAXException, xercesc::XMLException if the schema can't be read
SchemaGrammars schemaGrammars(NamedSource const& schema, ustring const& location, ReadState& state);

/// One parse's view of shared, locked grammars. A locked pool keeps the name of every namespace
/// that any file ever told; here they go with the parse.
class ParseGrammars : public xercesc::XMLGrammarPool {
public:
    /// Refers to the grammars, which have to live as long.
    explicit ParseGrammars(SchemaGrammars const& shared);

    bool cacheGrammar(xercesc::Grammar* grammar) override;
    xercesc::Grammar* retrieveGrammar(xercesc::XMLGrammarDescription* description) override;
    xercesc::Grammar* orphanGrammar(XMLCh const* nameSpaceKey) override;
    xercesc::RefHashTableOfEnumerator<xercesc::Grammar> getGrammarEnumerator() const override;
    bool clear() override;
    void lockPool() override;
    void unlockPool() override;
    xercesc::DTDGrammar* createDTDGrammar() override;
    xercesc::SchemaGrammar* createSchemaGrammar() override;
    xercesc::XMLDTDDescription* createDTDDescription(XMLCh const* systemId) override;
    xercesc::XMLSchemaDescription* createSchemaDescription(XMLCh const* targetNamespace) override;
    xercesc::XSModel* getXSModel(bool& wasChanged) override;
    xercesc::XMLStringPool* getURIStringPool() override;
    void serializeGrammars(xercesc::BinOutputStream* stream) override;
    void deserializeGrammars(xercesc::BinInputStream* stream) override;

private:
    xercesc::XMLGrammarPool& shared_;
    xercesc::XMLSynchronizedStringPool names_;
};

}  // namespace settings::core
