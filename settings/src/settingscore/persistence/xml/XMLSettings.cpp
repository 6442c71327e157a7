#include <settingscore/persistence/xml/XMLSettings.hpp>

#include <settingscore/persistence/xml/XMLKey.hpp>
#include <settingscore/persistence/xml/XMLSettingsDetails.hpp>
#include <settingscore/persistence/xml/XMLValidationFunction.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

XMLSettings::XMLSettings(ElementAttributes const& attributes,
                         boost::shared_ptr<XMLNode> const& parent)
    : XMLNode(parent) {
    // A group that does not say so is as its parent is.
    boost::logic::tribool readOnly(boost::logic::indeterminate);
    if (attributes.isTrue("readonly")) readOnly = true;
    settings_ = boost::make_shared<SettingsImpl>(
        attributes.get("name"), false, boost::optional<bool>(attributes.isTrue("visible")),
        XMLSettingsDetails::getVersionNumber(attributes.get("version")), readOnly, Validator(),
        boost::shared_ptr<SettingsImpl>());
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
