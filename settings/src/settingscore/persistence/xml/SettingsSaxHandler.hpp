#pragma once

#include <cstdint>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/persistence/xml/DocumentHandler.hpp>
#include <settingscore/persistence/xml/FileBounds.hpp>
#include <settingscore/persistence/xml/HandlerStack.hpp>

namespace settings::core {

class XMLTopSettingsNode;

/// Turns what a parser reads into a stack of element handlers, one for each open element. One
/// handler serves the files of one `SettingsXMLReader::getParsedSettings`, one after the other. It
/// bounds the nesting of elements and the text of each.
///
/// @throws exception::ErrorReadingSettingsData, by the code `ContentRefused`, for what it refuses
///         itself; what the element handlers throw passes through
class SettingsSaxHandler : public DocumentHandler {
public:
    static constexpr std::size_t nestingLimit = FileBounds::nestingLimit;
    static constexpr std::uint64_t textLimit = FileBounds::textLimit;

    /// Before a file.
    void setSettings(boost::shared_ptr<SettingsImpl> const& node) {
        parsedSettings_ = node;
        pathsBefore_ = nextPaths_.size();
    }
    /// Node of the last finished root element.
    boost::shared_ptr<SettingsImpl> getSettings() const { return parsedSettings_; }
    /// Forgets the file that is being read, which a parser will read again.
    void startAgain();
    /// Takes the last of the additional paths that are still to be read; false if there is none.
    bool popNextPaths(qf::filesystem::path& next);

    void startElement(std::string_view name, ElementAttributes const& attributes) override;
    void characters(ustring const& piece) override;
    void endElement(std::string_view name) override;

private:
    HandlerStack nodeStack_;
    /// The lowest of the stack.
    XMLTopSettingsNode* root_ = nullptr;
    boost::shared_ptr<SettingsImpl> parsedSettings_;
    std::vector<qf::filesystem::path> nextPaths_;
    /// How many of them are from files before the one that is being read.
    std::size_t pathsBefore_ = 0;
    std::uint64_t textLength_ = 0;
};

}  // namespace settings::core
