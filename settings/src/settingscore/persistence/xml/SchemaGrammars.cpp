#include <settingscore/persistence/xml/SchemaGrammars.hpp>

#include <map>
#include <memory>
#include <mutex>

#include <settingscore/persistence/xml/SettingsInputSource.hpp>
#include <settingscore/persistence/xml/SettingsSaxErrorHandler.hpp>
#include <xercesc/framework/XMLGrammarPoolImpl.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>

namespace settings::core {

xercesc::XMLGrammarPool& schemaGrammars(qf::filesystem::path const& schema,
                                        ustring const& location) {
    using Pools = std::map<ustring, std::unique_ptr<xercesc::XMLGrammarPoolImpl>>;
    static std::mutex mutex;
    // Never destroyed: the parser is never ended either, and parses may go on in static
    // destructors.
    static Pools& pools = *new Pools;

    std::lock_guard<std::mutex> const lock(mutex);
    auto const found = pools.find(location);
    if (found != pools.end()) return *found->second;

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
        std::uint64_t bytes = 0;
        reader->loadGrammar(SettingsInputSource(schema, bytes), xercesc::Grammar::SchemaGrammarType,
                            true);
    }
    pool->lockPool();
    return *pools.emplace(location, std::move(pool)).first->second;
}

}  // namespace settings::core
