#include <iostream>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/typed/Key.hpp>

using namespace settingscore::typed;

int main() try {
    Key<double> const lineWidth("plotter.lineWidth");

    // What is in force: a session value, else the user's, else the factory's.
    double const width = lineWidth.get();
    std::cout << "width is " << width << '\n';

    lineWidth.set(width + 0.15);  // checked, told to listeners, saved
    std::cout << "width is " << lineWidth.get() << '\n';

    try {
        lineWidth.set(1000);
    } catch (settings::core::exception::ValueIsNotInRange const& e) {
        std::cout << "refused: " << e.what() << '\n';
    }
    lineWidth.reset();  // the factory's value is in force again
} catch (std::exception const& e) {
    std::cerr << e.what()
              << '\n';  // also that there is no such product, and where it was looked for
    return 1;
}
