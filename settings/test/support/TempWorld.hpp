#pragma once

#include <gtest/gtest.h>
#include <settingscore/host/ContextMgr.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

#include <support/SettingsXml.hpp>
#include <support/TempFolder.hpp>

namespace qbtest {

/// A world of its own for a test: a temporary folder with the factory folder `toolbox/`, the user
/// folder `user/` and the home folder `home/`, the environment that names them, and a fresh tree.
/// All of it is gone, and the environment restored, at the end.
class TempWorld : public ::testing::Test {
protected:
    TempWorld() {
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
    ~TempWorld() override { resetInstances(); }

    auto const& folder() const { return folder_.path(); }
    std::filesystem::path factoryDir() const { return folder() / "toolbox"; }
    std::filesystem::path userDir() const { return folder() / "user"; }
    std::filesystem::path homeDir() const { return folder() / "home"; }
    auto userFilePath(std::string const& product) const {
        return userDir() / (product + ".settings");
    }

    /// Writes a file of the product: `text` whole, or `body` inside `settingsXml` of the product.
    auto factoryText(std::string const& product, std::string const& file,
                     std::string const& text) const {
        return writeFile(factoryDir() / product / file, text);
    }
    auto factoryFile(std::string const& product, std::string const& file, std::string const& body,
                     std::string const& attributes = "visible=\"true\"") const {
        return factoryText(product, file, settingsXml(product, body, attributes));
    }
    auto userText(std::string const& file, std::string const& text) const {
        return writeFile(userDir() / file, text);
    }
    auto userFile(std::string const& product, std::string const& body,
                  std::string const& attributes = "visible=\"true\"") const {
        return writeFile(userFilePath(product), settingsXml(product, body, attributes));
    }
    bool userFileExists(std::string const& product) const {
        return std::filesystem::exists(userFilePath(product));
    }
    /// The product's user file, whole.
    std::string readUserFile(std::string const& product) const {
        return readFile(userFilePath(product));
    }

    /// Ends all instances; the next request for a root reads the folders again.
    static void resetInstances() { settings::core::SettingsImpl::reset(); }
    static auto root() {
        return settings::core::Settings::getSettingsRoot(settings::core::BlessedZcrID);
    }
    static auto implRoot() {
        return settings::core::SettingsImpl::getSettingsImplRoot(settings::core::BlessedZcrID);
    }
    static auto freshRoot() {
        resetInstances();
        return root();
    }

    ScopedEnvironment& environment() { return environment_; }

private:
    TempFolder folder_;
    ScopedEnvironment environment_;
};

}  // namespace qbtest
