#pragma once

#include <settingscore/persistence/xml/XMLNode.hpp>

namespace settings::core {

/// What makes the handler of a type element; null for another element.
XMLNode::Creator creatorOfType(ElementKind kind);

}  // namespace settings::core
