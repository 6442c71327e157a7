#pragma once

#include <settingscore/persistence/xml/XMLHelperFunctions.hpp>
#include <settingscore/persistence/xml/XMLLeafNode.hpp>
#include <settingscore/tree/NodeBuilder.hpp>

namespace settings::core {

/// The runtime default of a key, whatever its type. It acts at once, and only if its kind is known.
template <class T>
class XMLRuntimeDefault : public XMLLeafNode {
public:
    XMLRuntimeDefault(xercesc::Attributes const& attributes,
                      boost::shared_ptr<XMLNode> const& parent)
        : XMLLeafNode(parent) {
        using XMLHelperFunctions::getAttribute;
        std::string const type = getAttribute(attributes, u"type");
        std::string const package = getAttribute(attributes, u"packagename");
        std::string const function = getAttribute(attributes, u"functionname");
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
