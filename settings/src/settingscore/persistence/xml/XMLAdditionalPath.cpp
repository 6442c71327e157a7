#include <settingscore/persistence/xml/XMLAdditionalPath.hpp>

#include <settingscore/persistence/xml/XMLTopSettingsNode.hpp>

namespace settings::core {

void XMLAdditionalPath::closeTag() { parentAs<XMLTopSettingsNode>().appendAdditionalPath(path_); }

}  // namespace settings::core
