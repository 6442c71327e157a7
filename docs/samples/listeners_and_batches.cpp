#include <iostream>
#include <map>

#include <settingscore/tree/SettingsEvent.hpp>
#include <settingscore/tree/ZSettings.hpp>
#include <settingscore/value/MakeAny.hpp>

using namespace settings::core;
using settingscore::boostany::makeAny;

int main() try {
    boost::shared_ptr<Settings> root = Settings::getSettingsRoot(BlessedZcrID);
    boost::shared_ptr<Settings> plotter = root->getChild("plotter");
    if (!plotter) {
        std::cerr << "there is no product plotter in "
                  << qf::i18n::to_string(ZSettings::getFactoryDir(BlessedZcrID)) << '\n';
        return 1;
    }

    // Hears everything below the product, as long as the connection lives.
    auto connection = plotter->addListener<SettingsEvent>([](SettingsEvent const& event) {
        std::cout << "changed: " << event.getObj()->getName() << '\n';
    });

    // All or nothing: every value is checked before the first is stored.
    std::map<std::string, boost::any> values{{"lineWidth", makeAny(2.0)},
                                             {"paper", makeAny("papyrus")}};
    for (auto const& [name, reason] : plotter->setMultiple(values, "session")) {
        std::cout << name << " refused: " << reason << '\n';
    }
    values["paper"] = makeAny("A3");
    plotter->setMultiple(values, "session");

    // A branch leaves as a file, and comes back as a standalone object that can be merged.
    ustring file = qf::i18n::getenv("EXPORT_FILE");
    if (file.empty()) file = u"/tmp/palettes.settings";
    Settings::exportSettings({plotter->getChild("palettes")}, file, "");
    boost::shared_ptr<Settings> copy = Settings::importAsStandaloneObject(file);
    std::cout << "exported: " << copy->getChildren().size() << " group\n";
} catch (std::exception const& e) {
    std::cerr << e.what() << '\n';
    return 1;
}
