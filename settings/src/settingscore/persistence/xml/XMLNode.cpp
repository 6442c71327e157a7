#include <settingscore/persistence/xml/XMLNode.hpp>

#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/persistence/xml/XMLHelperFunctions.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

using ZENBAR::settings::core::throwMessage;

XMLNode::~XMLNode() = default;

boost::shared_ptr<SettingsImpl> const& XMLNode::getSettings() const {
    return parentXMLNode_->getSettings();
}

void XMLNode::parseText(ustring const&) {
    throwMessage<ZENBAR::settings::core::XMLParserErrorUnexpectedTextContent>(fullName(),
                                                                              getTagName());
}

XMLNode* XMLNode::subNode(ElementKind kind, std::string_view tag,
                          ElementAttributes const& attributes, Room& room) {
    Creator const creator = creatorOf(kind);
    if (!creator) {
        throwMessage<ZENBAR::settings::core::XMLParserErrorIllegalTagName>(
            fullName(), std::string(tag), getTagName());
    }
    return creator(room, attributes, this);
}

std::string XMLNode::fullName() const {
    return getSettings()->getFullNameWithLock(XMLHelperFunctions::privateTreeLock(), false);
}

}  // namespace settings::core
