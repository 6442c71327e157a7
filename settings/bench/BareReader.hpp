#pragma once

#include <memory>
#include <string>

#include <xercesc/framework/XMLGrammarPoolImpl.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>

namespace qbbench {

/// Parses and validates files as the library does, and does nothing with what it finds. The schema
/// is parsed once, when the reader is made.
class BareReader {
public:
    explicit BareReader(std::string const& schema);

    /// A parser is made for each file, as the library's reader makes one; the schema is held.
    void parse(std::string const& file) const;

private:
    std::unique_ptr<xercesc::SAX2XMLReader> createReader() const;

    std::string location_;
    std::unique_ptr<xercesc::XMLGrammarPoolImpl> grammars_;
};

}  // namespace qbbench
