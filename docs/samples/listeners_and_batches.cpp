#include <iostream>
#include <map>

#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/tree/SettingsEvent.hpp>
#include <settingscore/tree/ZSettings.hpp>
#include <settingscore/value/MakeAny.hpp>

using namespace settings::core;
using settingscore::boostany::makeAny;

// Takes the name of the file to export to.
int main(int argc, char** argv) try {
    boost::shared_ptr<Settings> root = Settings::getSettingsRoot(BlessedZcrID);
    boost::shared_ptr<Settings> plotter = root ? root->getChild("plotter") : nullptr;
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
    namespace fs = qf::filesystem;
    ustring file =
        fs::absolute(fs::from_native(argc > 1 ? argv[1] : "palettes.settings"), {}).str();
    Settings::exportSettings({plotter->getChild("palettes")}, file, "");
    boost::shared_ptr<Settings> copy = Settings::importAsStandaloneObject(file);
    std::cout << "exported: " << copy->getChildren().size() << " group\n";
} catch (std::exception const& e) {
    std::cerr << e.what() << '\n';
    return 1;
}
