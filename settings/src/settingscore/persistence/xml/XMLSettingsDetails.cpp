#include <settingscore/persistence/xml/XMLSettingsDetails.hpp>

#include <settingscore/value/NumberText.hpp>

namespace settings::core::XMLSettingsDetails {

boost::optional<unsigned int> getVersionNumber(std::string const& text) {
    if (text.empty()) return boost::none;
    return settingscore::boostany::lexicalParse<unsigned int>(text);
}

}  // namespace settings::core::XMLSettingsDetails
