#include <settingscore/persistence/xml/XMLValidationFunction.hpp>

#include <settingscore/tree/NodeBuilder.hpp>

namespace settings::core {

XMLValidationFunction::XMLValidationFunction(ElementAttributes const& attributes, XMLNode* parent)
    : XMLLeafNode(parent) {
    std::string const type = attributes.get(AttributeKind::type);
    std::string const package = attributes.get(AttributeKind::packagename);
    std::string const function = attributes.get(AttributeKind::functionname);
    Validator validator;
    if (type == "ZENBAR") {
        validator = ZValidator(package, function);
    } else if (type == "C") {
        validator = CValidator(package, function);
    } else if (type == "JAVA") {
        validator = JValidator(package, function);
    }
    detail::NodeBuilder(*getSettings()).setValidator(validator);
}

}  // namespace settings::core
