#include "Place.hpp"

#include <cstdlib>

#include <support/SettingsXml.hpp>
#include <support/TempFolder.hpp>

namespace qbprocesses {

namespace {

std::string keysXml(char letter, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += std::string("<key name=\"") + letter + std::to_string(i) +
                "\" visible=\"true\"><int32><value>0</value></int32></key>\n";
    }
    return text;
}

std::string groupXml(std::string const& name, std::string const& body) {
    return "<settings name=\"" + name + "\" visible=\"true\">\n" + body + "</settings>\n";
}

}  // namespace

void Place::make(int numbers) const {
    auto const write = [&](std::string const& name, std::string const& body) {
        qbtest::writeFile(factory() / name / (name + ".settings"),
                          qbtest::settingsXml(name, body, "visible=\"true\" version=\"1\""));
    };
    std::string const own = keysXml('k', keys) + keysXml('b', batch);
    std::string common =
        keysXml('c', keys) + groupXml("batch", keysXml('b', batch)) + groupXml("dynamic", "");
    for (int number = 0; number < numbers; ++number) {
        common += groupXml("w" + std::to_string(number), own);
        write("p" + std::to_string(number), own);
    }
    write("common", common);
    std::filesystem::create_directories(user());
}

void Place::enter() const {
    ::setenv("SETTINGS_FACTORYDIR", factory().c_str(), 1);
    ::setenv("SETTINGS_USERDIR", user().c_str(), 1);
    ::setenv("HOME", folder_.c_str(), 1);
    ::unsetenv("SETTINGS_WORKGROUPDIR");
    ::unsetenv("ZENBAR_PREFDIR");
    // A machine that has much to do is no loss.
    ::setenv("QBSETTINGS_LOCK_WAIT", "60", 1);
}

std::vector<std::string> Place::ownGroups(int number) {
    std::string const text = std::to_string(number);
    return {"common.w" + text, "p" + text};
}

std::vector<std::string> Place::batchKeys(std::string const& group) {
    std::vector<std::string> names;
    for (int i = 0; i < batch; ++i)
        names.push_back(key(group, 'b', i));
    return names;
}

std::string Place::key(std::string const& group, char letter, int index) {
    return group + "." + letter + std::to_string(index);
}

}  // namespace qbprocesses
