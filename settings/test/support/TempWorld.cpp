#include "TempWorld.hpp"

#include <settingscore/host/ContextMgr.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/tree/Settings.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

using settings::core::Settings;
using settings::core::SettingsImpl;

namespace qbtest {

std::string settingsXml(std::string const& name, std::string const& body,
                        std::string const& attributes) {
    return Settings::settingsXMLFileHeader + "\n<settings name=\"" + name + "\" " + attributes +
           (attributes.empty() ? "" : " ") + Settings::settingsSchemaInfo + ">\n" + body +
           "</settings>\n";
}

TempWorld::TempWorld() {
    for (auto const& [variable, place] : {std::pair("SETTINGS_FACTORYDIR", factoryDir()),
                                          {"SETTINGS_USERDIR", userDir()},
                                          {"HOME", homeDir()}}) {
        std::filesystem::create_directories(place);
        environment_.set(variable, place.string());
    }
    for (char const* name :
         {"SETTINGS_WORKGROUPDIR", "ZENBAR_PREFDIR", "DISABLE_PREFCOPY3RELEASES"})
        environment_.unset(name);
    resetInstances();
}

void TempWorld::resetInstances() { SettingsImpl::reset(); }

boost::shared_ptr<Settings> TempWorld::root() {
    return Settings::getSettingsRoot(settings::core::BlessedZcrID);
}

boost::shared_ptr<settings::core::SettingsImplRoot> TempWorld::implRoot() {
    return SettingsImpl::getSettingsImplRoot(settings::core::BlessedZcrID);
}

}  // namespace qbtest
