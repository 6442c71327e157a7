#include <settingscore/rules/Validator.hpp>

#include <settingscore/rules/ValidationEqualityVisitor.hpp>

namespace settings::core {

bool isEqual(Validator const& a, Validator const& b) {
    return boost::apply_visitor(ValidationEqualityVisitor(b), a);
}

}  // namespace settings::core
