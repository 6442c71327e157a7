#include <settingscore/persistence/xml/XMLLeafNode.hpp>

namespace settings::core {

XMLNode::HandlerMap const& XMLLeafNode::getHandlerMap() const {
    static auto const& none = *new HandlerMap;
    return none;
}

}  // namespace settings::core
