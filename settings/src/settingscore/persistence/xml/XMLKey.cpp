#include <settingscore/persistence/xml/XMLKey.hpp>

#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/persistence/writer/ValueWriter.hpp>
#include <settingscore/persistence/xml/XMLValidationFunction.hpp>
#include <settingscore/persistence/xml/XMLValueTypes.hpp>

namespace settings::core {

XMLKey::XMLKey(ElementAttributes const& attributes, boost::shared_ptr<XMLNode> const& parent)
    : XMLNode(parent),
      // Not in one block with its count: a key that takes over this one's size rule goes on
      // referring weakly to this node, and would keep its memory.
      settings_(new SettingsImpl(attributes.get("name"), true,
                                 boost::optional<bool>(attributes.isTrue("visible")), Validator(),
                                 boost::logic::tribool(attributes.isTrue("readonly")),
                                 boost::shared_ptr<SettingsImpl>())),
      canBeAnyType_(attributes.isTrue("anytype")) {}

void XMLKey::closeTag() const {
    SettingsImpl::ValueWriterFcn writer = keyValueWriter_;
    if (canBeAnyType_) {
        settings_->setDataTypeIndexInternal(SettingsImpl::anyTypeIndex);
        writer = &writeValues<ZenbarAny>;
    } else if (!settings_->getDataTypeIndexInternal()) {
        ZENBAR::settings::core::throwMessage<
            ZENBAR::settings::core::TypeNotSpecifiedForNoneAnyType>(settings_->getName());
    }
    settings_->setValueWriterFcnInternal(writer);
    bool const hasDefault =
        !isVoidRuntimeDefault(settings_->contentInternal().runTimeDefault.get());
    if (!hasDefault && !keyValue_.empty()) settings_->setAnyInternal(keyValue_, "user");
    settings_->setParentInternal(getParentXMLNode()->getSettings());
}

XMLNode::HandlerMap const& XMLKey::getHandlerMap() const {
    static auto const& handlers = *new HandlerMap([] {
        HandlerMap map = valueTypeHandlers();
        map.emplace("validationfunc", &create<XMLValidationFunction>);
        map.emplace("key", &create<XMLKey>);
        return map;
    }());
    return handlers;
}

}  // namespace settings::core
