#pragma once

#include <settingscore/persistence/xml/XMLNode.hpp>

namespace settings::core {

/// Handler of an element that has no elements inside.
class XMLLeafNode : public XMLNode {
public:
    using XMLNode::XMLNode;
    Creator creatorOf(ElementKind) const final { return nullptr; }
};

}  // namespace settings::core
