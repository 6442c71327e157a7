#pragma once

#include <cstdint>

#include <settingscore/persistence/xml/ByteSource.hpp>
#include <xercesc/sax/EntityResolver.hpp>
#include <xercesc/sax/InputSource.hpp>

namespace settings::core {

/// What the stream of a file tells those who parse it.
struct ReadState {
    /// Counts the file's bytes since the last tag; put back by whoever sees the tags.
    std::uint64_t bytesSinceTag = 0;
    /// That of the opening or read that failed; 0 if none did.
    int errorNumber = 0;
};

/// Bytes for the parser. Its own way would take a path through the locale's character set.
class SettingsInputSource : public xercesc::InputSource {
public:
    /// Refers to the bytes, which can be read once. The stream keeps the state up to date.
    SettingsInputSource(NamedSource const& source, ReadState& state);

    /// @throws xercesc::SAXParseException if the beginning can't be read; the stream throws
    ///         xercesc::SAXException if it can't be read further
    xercesc::BinInputStream* makeStream() const override;

private:
    ByteSource& bytes_;
    ReadState& state_;
};

/// Keeps the parser from opening anything but the file that it was given: whatever else is asked
/// for is empty.
class ClosedEntityResolver : public xercesc::EntityResolver {
public:
    xercesc::InputSource* resolveEntity(XMLCh const* publicId, XMLCh const* systemId) override;
};

}  // namespace settings::core
