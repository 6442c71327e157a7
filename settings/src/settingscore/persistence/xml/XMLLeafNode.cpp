#include <settingscore/persistence/xml/XMLLeafNode.hpp>

namespace settings::core {

XMLNode::HandlerMap const& XMLLeafNode::getHandlerMap() const {
    static HandlerMap const none;
    return none;
}

}  // namespace settings::core
