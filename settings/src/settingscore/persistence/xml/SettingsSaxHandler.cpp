#include <settingscore/persistence/xml/SettingsSaxHandler.hpp>

#include <utility>

#include <settingscore/host/Except.hpp>
#include <settingscore/persistence/xml/XMLHelperFunctions.hpp>
#include <settingscore/persistence/xml/XMLTopSettingsNode.hpp>
#include <settingscore/value/NeverDestroyed.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/sax/SAXParseException.hpp>

namespace settings::core {

namespace {

/// Runs work of the element handlers.
template <class Work>
void translated(Work const& work) {
    try {
        work();
    } catch (qf::except::IMsgIDException const& error) {
        throw xercesc::SAXException(error.GetUnicodeMessageTxt().c_str());
    }
}

}  // namespace

SettingsSaxHandler::TopNodesHandlerMap const& SettingsSaxHandler::topNodesHandlerMap() {
    static auto const& topNodesHandlerMap_ = detail::neverDestroyed<TopNodesHandlerMap>(
        TopNodesHandlerMap{{"settings", &XMLTopSettingsNode::createTop}});
    return topNodesHandlerMap_;
}

bool SettingsSaxHandler::popNextPaths(qf::filesystem::path& next) {
    if (nextPaths_.empty()) return false;
    next = nextPaths_.back();
    nextPaths_.pop_back();
    return true;
}

void SettingsSaxHandler::tagSeen() {
    textLength_ = 0;
    readState_.bytesSinceTag = 0;
}

void SettingsSaxHandler::startElement(XMLCh const*, XMLCh const* localName, XMLCh const*,
                                      xercesc::Attributes const& attributes) {
    tagSeen();
    translated([&] {
        std::string const tag = XMLHelperFunctions::XmlString2String(localName);
        boost::shared_ptr<XMLNode> node;
        if (nodeStack_.empty()) {
            auto const found = topNodesHandlerMap().find(tag);
            if (found == topNodesHandlerMap().end()) {
                throw xercesc::SAXException(
                    u"Illegal tag encountered at the beginning of the Settings XMLfile");
            }
            node = found->second(attributes, boost::shared_ptr<XMLNode>());
        } else if (nodeStack_.size() >= nestingLimit) {
            throw xercesc::SAXException(u"The elements of the settings file are nested too deeply");
        } else {
            node = nodeStack_.back()->subNode(tag, attributes);
        }
        nodeStack_.push_back(std::move(node));
    });
}

void SettingsSaxHandler::endElement(XMLCh const*, XMLCh const* localName, XMLCh const*) {
    tagSeen();
    translated([&] {
        if (nodeStack_.empty() ||
            !XMLHelperFunctions::isSameTag(localName, nodeStack_.back()->getTagName())) {
            throw xercesc::SAXException(u"Mismatch in tag hierarchy between parser and node stack");
        }
        boost::shared_ptr<XMLNode> const node = std::move(nodeStack_.back());
        nodeStack_.pop_back();
        if (!nodeStack_.empty()) {
            node->closeTag();
            return;
        }
        auto const& root = static_cast<XMLTopSettingsNode const&>(*node);
        parsedSettings_ = root.getSettings();
        auto const& paths = root.getAdditionalPath();
        nextPaths_.insert(nextPaths_.end(), paths.begin(), paths.end());
    });
}

void SettingsSaxHandler::characters(XMLCh const* chars, XMLSize_t length) {
    if (nodeStack_.empty()) return;
    textLength_ += length;
    if (textLength_ > textLimit) {
        throw xercesc::SAXException(u"A text of the settings file is too long");
    }
    translated([&] { nodeStack_.back()->parseText(ustring(chars, length)); });
}

void SettingsSaxHandler::startDTD(XMLCh const*, XMLCh const*, XMLCh const*) {
    refuse(u"A settings file has no document type declaration");
}

void SettingsSaxHandler::startXML(XMLCh const* version) const {
    if (version != ustring(u"1.0")) refuse(u"A settings file is of XML version 1.0");
}

void SettingsSaxHandler::refuse(XMLCh const* message) const {
    if (locator_) throw xercesc::SAXParseException(message, *locator_);
    throw xercesc::SAXParseException(message, u"", u"", 0, 0);
}

}  // namespace settings::core
