#include "TempWorld.hpp"

#include <settingscore/host/ContextMgr.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/tree/Settings.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

using settings::core::Settings;
using settings::core::SettingsImpl;
using settings::core::SettingsImplRoot;

namespace qbtest {

std::string settingsXml(std::string const& name, std::string const& body,
                        std::string const& attributes) {
    return Settings::settingsXMLFileHeader + "\n<settings name=\"" + name + "\" " + attributes +
           (attributes.empty() ? "" : " ") + Settings::settingsSchemaInfo + ">\n" + body +
           "</settings>\n";
}

TempWorld::TempWorld() {
    std::filesystem::create_directories(factoryDir());
    std::filesystem::create_directories(userDir());
    std::filesystem::create_directories(homeDir());
    environment_.set("SETTINGS_FACTORYDIR", factoryDir().string());
    environment_.set("SETTINGS_USERDIR", userDir().string());
    environment_.set("HOME", homeDir().string());
    environment_.unset("SETTINGS_WORKGROUPDIR");
    environment_.unset("ZENBAR_PREFDIR");
    environment_.unset("DISABLE_PREFCOPY3RELEASES");
    resetInstances();
}

TempWorld::~TempWorld() {
    resetInstances();
}

std::filesystem::path TempWorld::factoryText(std::string const& product, std::string const& file,
                                             std::string const& text) const {
    return writeFile(factoryDir() / product / file, text);
}

std::filesystem::path TempWorld::factoryFile(std::string const& product, std::string const& file,
                                             std::string const& body,
                                             std::string const& attributes) const {
    return factoryText(product, file, settingsXml(product, body, attributes));
}

std::filesystem::path TempWorld::userText(std::string const& file, std::string const& text) const {
    return writeFile(userDir() / file, text);
}

std::filesystem::path TempWorld::userFile(std::string const& product, std::string const& body,
                                          std::string const& attributes) const {
    return writeFile(userFilePath(product), settingsXml(product, body, attributes));
}

std::filesystem::path TempWorld::userFilePath(std::string const& product) const {
    return userDir() / (product + Settings::settingsExtension);
}

bool TempWorld::userFileExists(std::string const& product) const {
    return std::filesystem::exists(userFilePath(product));
}

std::string TempWorld::readUserFile(std::string const& product) const {
    return readFile(userFilePath(product));
}

void TempWorld::resetInstances() {
    SettingsImpl::reset();
}

boost::shared_ptr<Settings> TempWorld::root() {
    return Settings::getSettingsRoot(settings::core::BlessedZcrID);
}

boost::shared_ptr<SettingsImplRoot> TempWorld::implRoot() {
    return SettingsImpl::getSettingsImplRoot(settings::core::BlessedZcrID);
}

}  // namespace qbtest
