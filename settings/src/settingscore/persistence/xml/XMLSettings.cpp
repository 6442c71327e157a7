#include <settingscore/persistence/xml/XMLSettings.hpp>

#include <settingscore/persistence/xml/XMLHelperFunctions.hpp>
#include <settingscore/persistence/xml/XMLKey.hpp>
#include <settingscore/persistence/xml/XMLSettingsDetails.hpp>
#include <settingscore/persistence/xml/XMLValidationFunction.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

using XMLHelperFunctions::getAttribute;
using XMLHelperFunctions::isTrue;

XMLSettings::XMLSettings(xercesc::Attributes const& attributes,
                         boost::shared_ptr<XMLNode> const& parent)
    : XMLNode(parent) {
    // A group that does not say so is as its parent is.
    boost::logic::tribool readOnly(boost::logic::indeterminate);
    if (isTrue(attributes, u"readonly")) readOnly = true;
    settings_ = boost::make_shared<SettingsImpl>(
        getAttribute(attributes, u"name"), false,
        boost::optional<bool>(isTrue(attributes, u"visible")),
        XMLSettingsDetails::getVersionNumber(getAttribute(attributes, u"version")), readOnly,
        Validator(), boost::shared_ptr<SettingsImpl>());
}

void XMLSettings::closeTag() const {
    if (auto const& parent = getParentXMLNode()) {
        settings_->setParentInternal(parent->getSettings());
    }
}

XMLNode::HandlerMap XMLSettings::createHandlerMap() {
    return {{"validationfunc", &create<XMLValidationFunction>},
            {"key", &create<XMLKey>},
            {"settings", &create<XMLSettings>}};
}

XMLNode::HandlerMap const& XMLSettings::getHandlerMap() const {
    static auto const& handlers = *new HandlerMap(createHandlerMap());
    return handlers;
}

}  // namespace settings::core
