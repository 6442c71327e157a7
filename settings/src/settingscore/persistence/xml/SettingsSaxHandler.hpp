#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/persistence/xml/SettingsInputSource.hpp>
#include <settingscore/persistence/xml/XMLNode.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>

namespace settings::core {

/// Turns the parser's events into a stack of element handlers, one for each open element. One
/// handler serves the files of one `SettingsXMLReader::getParsedSettings`, one after the other.
///
/// What the element handlers refuse with a message id leaves as a SAX exception with the
/// catalogue's text. Beyond that this class bounds what a hostile file can cost: no document type,
/// so that no entity is ever declared, and limits on nesting and on one element's text.
class SettingsSaxHandler : public xercesc::DefaultHandler {
public:
    static constexpr std::size_t nestingLimit = 1000;
    /// In UTF-16 code units.
    static constexpr std::uint64_t textLimit = std::uint64_t(64) << 20;

    void setSettings(boost::shared_ptr<SettingsImpl> const& node) { parsedSettings_ = node; }
    /// Node of the last finished root element.
    boost::shared_ptr<SettingsImpl> getSettings() const { return parsedSettings_; }
    /// Takes the last of the additional paths that are still to be read; false if there is none.
    bool popNextPaths(qf::filesystem::path& next);
    /// That of the file which is parsed; for its stream.
    ReadState& readState() { return readState_; }

    void startElement(XMLCh const* uri, XMLCh const* localName, XMLCh const* qName,
                      xercesc::Attributes const& attributes) override;
    void endElement(XMLCh const* uri, XMLCh const* localName, XMLCh const* qName) override;
    void characters(XMLCh const* chars, XMLSize_t length) override;
    void setDocumentLocator(xercesc::Locator const* locator) override { locator_ = locator; }
    void startDTD(XMLCh const* name, XMLCh const* publicId, XMLCh const* systemId) override;
    /// The XML declaration. Other versions take characters that could not be written back.
    void startXML(XMLCh const* version) const;

private:
    [[noreturn]] void refuse(XMLCh const* message) const;
    using TopNodesHandlerMap = XMLNode::HandlerMap;
    static TopNodesHandlerMap const& topNodesHandlerMap();
    void tagSeen();

    std::deque<boost::shared_ptr<XMLNode>> nodeStack_;
    boost::shared_ptr<SettingsImpl> parsedSettings_;
    std::vector<qf::filesystem::path> nextPaths_;
    xercesc::Locator const* locator_ = nullptr;
    std::uint64_t textLength_ = 0;
    ReadState readState_;
};

}  // namespace settings::core
