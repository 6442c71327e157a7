#pragma once

#include <settingscore/persistence/xml/XMLNode.hpp>

namespace settings::core {

/// The handlers of the twelve type elements.
XMLNode::HandlerMap valueTypeHandlers();

}  // namespace settings::core
