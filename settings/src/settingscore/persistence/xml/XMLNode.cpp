#include <settingscore/persistence/xml/XMLNode.hpp>

#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/persistence/xml/XMLHelperFunctions.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

using ZENBAR::settings::core::throwMessage;

XMLNode::~XMLNode() = default;

boost::shared_ptr<SettingsImpl> XMLNode::getSettings() const {
    return parentXMLNode_ ? parentXMLNode_->getSettings() : boost::shared_ptr<SettingsImpl>();
}

void XMLNode::parseText(ustring const&) {
    throwMessage<ZENBAR::settings::core::XMLParserErrorUnexpectedTextContent>(fullName(),
                                                                              getTagName());
}

boost::shared_ptr<XMLNode> XMLNode::subNode(std::string const& tag,
                                            ElementAttributes const& attributes) {
    HandlerMap const& handlers = getHandlerMap();
    auto const found = handlers.find(tag);
    if (found == handlers.end()) {
        throwMessage<ZENBAR::settings::core::XMLParserErrorIllegalTagName>(fullName(), tag,
                                                                           getTagName());
    }
    return found->second(attributes, shared_from_this());
}

std::string XMLNode::fullName() const {
    auto const node = getSettings();
    return node ? node->getFullNameWithLock(XMLHelperFunctions::privateTreeLock(), false)
                : std::string();
}

}  // namespace settings::core
