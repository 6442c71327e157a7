#include <settingscore/persistence/xml/XMLTopSettingsNode.hpp>

#include <settingscore/persistence/xml/XMLAdditionalPath.hpp>

namespace settings::core {

XMLNode::HandlerMap const& XMLTopSettingsNode::getHandlerMap() const {
    static auto const& handlers = *new HandlerMap([] {
        HandlerMap map = createHandlerMap();
        map.emplace("additionalpath", &create<XMLAdditionalPath>);
        return map;
    }());
    return handlers;
}

}  // namespace settings::core
