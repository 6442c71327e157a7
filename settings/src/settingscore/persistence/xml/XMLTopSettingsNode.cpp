#include <settingscore/persistence/xml/XMLTopSettingsNode.hpp>

#include <settingscore/persistence/xml/XMLAdditionalPath.hpp>

namespace settings::core {

XMLNode::Creator XMLTopSettingsNode::creatorOf(ElementKind kind) const {
    if (kind == ElementKind::additionalpath) return &create<XMLAdditionalPath>;
    return XMLSettings::creatorOf(kind);
}

}  // namespace settings::core
