#include <settingscore/persistence/xml/XMLSettings.hpp>

#include <settingscore/persistence/xml/XMLKey.hpp>
#include <settingscore/persistence/xml/XMLSettingsDetails.hpp>
#include <settingscore/persistence/xml/XMLValidationFunction.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

XMLSettings::XMLSettings(ElementAttributes const& attributes, XMLNode* parent) : XMLNode(parent) {
    // A group that does not say so is as its parent is.
    boost::logic::tribool readOnly(boost::logic::indeterminate);
    if (attributes.isTrue(AttributeKind::readonly)) readOnly = true;
    settings_ = boost::make_shared<SettingsImpl>(
        attributes.get(AttributeKind::name), false,
        boost::optional<bool>(attributes.isTrue(AttributeKind::visible)),
        XMLSettingsDetails::getVersionNumber(attributes.get(AttributeKind::version)), readOnly,
        Validator(), boost::shared_ptr<SettingsImpl>());
}

void XMLSettings::closeTag() {
    if (XMLNode* const parent = getParentXMLNode()) {
        settings_->setParentInternal(parent->getSettings());
    }
}

XMLNode::Creator XMLSettings::creatorOf(ElementKind kind) const {
    switch (kind) {
        case ElementKind::validationfunc:
            return &create<XMLValidationFunction>;
        case ElementKind::key:
            return &create<XMLKey>;
        case ElementKind::settings:
            return &create<XMLSettings>;
        default:
            return nullptr;
    }
}

}  // namespace settings::core
