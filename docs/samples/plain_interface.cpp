#include <iostream>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/tree/ZSettings.hpp>
#include <settingscore/value/Get.hpp>

using namespace settings::core;

int main() try {
    boost::shared_ptr<Settings> root = Settings::getSettingsRoot(BlessedZcrID);
    boost::shared_ptr<Settings> plotter = root->getChild("plotter");
    if (!plotter) {
        std::cerr << "there is no product plotter in "
                  << qf::i18n::to_string(ZSettings::getFactoryDir(BlessedZcrID)) << '\n';
        return 1;
    }

    // What is in force: a session value, else the user's, else the factory's.
    double width = settingscore::boostany::get<double>(plotter->getAny("lineWidth", ""), false);
    std::cout << "width is " << width << '\n';

    plotter->setAny("lineWidth", width + 0.15, "user");  // checked, told to listeners, saved
    width = settingscore::boostany::get<double>(plotter->getAny("lineWidth", ""), false);
    std::cout << "width is " << width << '\n';

    try {
        plotter->setAny("lineWidth", 1000.0, "user");
    } catch (exception::ValueIsNotInRange const& e) {
        std::cout << "refused: " << e.what() << '\n';
    }
    plotter->unset("lineWidth", "user");  // the factory's value is in force again
} catch (std::exception const& e) {
    std::cerr << e.what() << '\n';
    return 1;
}
