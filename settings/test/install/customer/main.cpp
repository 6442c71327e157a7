#include <iostream>

#include <settingscore/host/I18n.hpp>
#include <settingscore/tree/ZSettings.hpp>
#include <settingscore/value/Get.hpp>

using namespace settings::core;

// The argument is the folder of the factory files. What is set goes to the home.
int main(int, char** argv) {
    ZSettings::setSettingsFileLocation(BlessedZcrID, qf::i18n::to_ustring(argv[1]), {}, {});
    auto const plotter = Settings::getSettingsRoot(BlessedZcrID)->getChild("plotter");
    plotter->setAny("lineWidth", 0.5, "user");
    auto const width = plotter->getAny("lineWidth", "");
    std::cout << settingscore::boostany::get<double>(width, false) << '\n';
}
