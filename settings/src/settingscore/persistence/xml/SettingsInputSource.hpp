#pragma once

#include <cstdint>

#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/UString.hpp>
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

/// A file for the parser. It is opened and read through the host's file layer: the parser's own
/// way would take the path through the locale's character set, and would wait at a pipe.
class SettingsInputSource : public xercesc::InputSource {
public:
    /// Most bytes of a file that may come without a tag among them.
    static constexpr std::uint64_t tagDistanceLimit = std::uint64_t(256) << 20;
    /// So long a text, with its marks, can be read whatever the parser has read ahead behind it.
    static constexpr std::uint64_t writtenTextLimit = tagDistanceLimit - (std::uint64_t(1) << 20);

    /// The stream keeps the state up to date.
    SettingsInputSource(qf::filesystem::path const& file, ReadState& state);

    /// @throws xercesc::SAXParseException if the file can't be opened and its beginning read; the
    ///         stream throws xercesc::SAXException if it can't be read further
    xercesc::BinInputStream* makeStream() const override;

private:
    qf::filesystem::path file_;
    ReadState& state_;
};

/// Keeps the parser from opening anything but the file that it was given: whatever else is asked
/// for is empty.
class ClosedEntityResolver : public xercesc::EntityResolver {
public:
    xercesc::InputSource* resolveEntity(XMLCh const* publicId, XMLCh const* systemId) override;
};

}  // namespace settings::core
