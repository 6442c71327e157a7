#pragma once

#include <settingscore/persistence/xml/XMLLeafNode.hpp>
#include <settingscore/tree/NodeBuilder.hpp>

namespace settings::core {

/// The runtime default of a key, whatever its type. It acts at once, and only if its kind is known.
template <class T>
class XMLRuntimeDefault : public XMLLeafNode {
public:
    XMLRuntimeDefault(ElementAttributes const& attributes, XMLNode* parent) : XMLLeafNode(parent) {
        std::string const type = attributes.get(AttributeKind::type);
        std::string const package = attributes.get(AttributeKind::packagename);
        std::string const function = attributes.get(AttributeKind::functionname);
        detail::NodeBuilder node(*getSettings());
        if (type == "C") {
            node.setRunTimeDefault(CRunTimeDefault(package, function));
        } else if (type == "ZENBAR") {
            node.setRunTimeDefault(ZRunTimeDefault(package, function));
        } else if (type == "JAVA") {
            node.setRunTimeDefault(JRunTimeDefault(package, function));
        }
    }

    std::string getTagName() const override { return "runtimedefault"; }
};

}  // namespace settings::core
