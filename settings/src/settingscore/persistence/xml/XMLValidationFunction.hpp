#pragma once

#include <settingscore/persistence/xml/XMLLeafNode.hpp>

namespace settings::core {

/// The validator of a key or group. It acts at once; of several under one parent the last counts.
class XMLValidationFunction : public XMLLeafNode {
public:
    XMLValidationFunction(ElementAttributes const& attributes, XMLNode* parent);

    std::string getTagName() const override { return "validationfunc"; }
};

}  // namespace settings::core
