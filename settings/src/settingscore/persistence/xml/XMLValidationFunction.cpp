#include <settingscore/persistence/xml/XMLValidationFunction.hpp>

#include <settingscore/persistence/xml/XMLHelperFunctions.hpp>
#include <settingscore/tree/NodeBuilder.hpp>

namespace settings::core {

using XMLHelperFunctions::getAttribute;

XMLValidationFunction::XMLValidationFunction(xercesc::Attributes const& attributes,
                                             boost::shared_ptr<XMLNode> const& parent)
    : XMLLeafNode(parent) {
    std::string const type = getAttribute(attributes, u"type");
    std::string const package = getAttribute(attributes, u"packagename");
    std::string const function = getAttribute(attributes, u"functionname");
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
