#pragma once

#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <boost/shared_ptr.hpp>
#include <settingscore/host/UString.hpp>

#include "TempFolder.hpp"

namespace settings::core {
class Settings;
class SettingsImplRoot;
}  // namespace settings::core

namespace qbtest {

/// A settings file: the header, a root tag with `attributes` and the schema, `body`, the close tag.
std::string settingsXml(std::string const& name, std::string const& body,
                        std::string const& attributes = "visible=\"true\"");

/// A world of its own for a test: a temporary folder with the factory folder `toolbox/`, the user
/// folder `user/` and the home folder `home/`, the environment that names them, and a fresh tree.
/// All of it is gone, and the environment restored, at the end.
class TempWorld : public ::testing::Test {
protected:
    TempWorld();
    ~TempWorld() override { resetInstances(); }

    auto const& folder() const { return folder_.path(); }
    auto factoryDir() const { return folder() / "toolbox"; }
    auto userDir() const { return folder() / "user"; }
    auto homeDir() const { return folder() / "home"; }
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
    static void resetInstances();
    static boost::shared_ptr<settings::core::Settings> root();
    static boost::shared_ptr<settings::core::SettingsImplRoot> implRoot();
    static boost::shared_ptr<settings::core::Settings> freshRoot() {
        resetInstances();
        return root();
    }

    ScopedEnvironment& environment() { return environment_; }

private:
    TempFolder folder_;
    ScopedEnvironment environment_;
};

}  // namespace qbtest
