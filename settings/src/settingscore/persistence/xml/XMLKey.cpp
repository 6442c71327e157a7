#include <settingscore/persistence/xml/XMLKey.hpp>

#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/persistence/writer/ValueWriter.hpp>
#include <settingscore/persistence/xml/XMLValidationFunction.hpp>
#include <settingscore/persistence/xml/XMLValueTypes.hpp>

namespace settings::core {

XMLKey::XMLKey(ElementAttributes const& attributes, XMLNode* parent)
    : XMLNode(parent),
      // Not in one block with its count: a key that takes over this one's size rule goes on
      // referring weakly to this node, and would keep its memory.
      settings_(new SettingsImpl(attributes.get(AttributeKind::name), true,
                                 boost::optional<bool>(attributes.isTrue(AttributeKind::visible)),
                                 Validator(),
                                 boost::logic::tribool(attributes.isTrue(AttributeKind::readonly)),
                                 boost::shared_ptr<SettingsImpl>())),
      canBeAnyType_(attributes.isTrue(AttributeKind::anytype)) {}

void XMLKey::closeTag() {
    SettingsImpl::ValueWriterFcn writer = keyValueWriter_;
    if (canBeAnyType_) {
        settings_->setDataTypeIndexInternal(SettingsImpl::anyTypeIndex);
        writer = &writeValues<ZenbarAny>;
    } else if (!settings_->getDataTypeIndexInternal()) {
        ZENBAR::settings::core::throwMessage<
            ZENBAR::settings::core::TypeNotSpecifiedForNoneAnyType>(settings_->getName());
    }
    settings_->setValueWriterFcnInternal(writer);
    auto& content = settings_->contentInternal();
    bool const hasDefault = !isVoidRuntimeDefault(content.runTimeDefault.get());
    if (!hasDefault && !keyValue_.empty()) {
        content.values.put(SettingsLevelManager::userLevel().position(), keyValue_);
    }
    settings_->setParentInternal(getParentXMLNode()->getSettings());
}

XMLNode::Creator XMLKey::creatorOf(ElementKind kind) const {
    switch (kind) {
        case ElementKind::validationfunc:
            return &create<XMLValidationFunction>;
        case ElementKind::key:
            return &create<XMLKey>;
        default:
            return creatorOfType(kind);
    }
}

}  // namespace settings::core
