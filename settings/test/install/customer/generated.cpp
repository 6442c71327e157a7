#include <iostream>

#include <plotter.settings.hpp>

int main() try {
    std::cout << (plotter::paper.get() == plotter::Paper::A4) << ' ' << plotter::lineWidthMax
              << '\n';
} catch (std::exception const& e) {
    std::cerr << e.what() << '\n';
    return 1;
}
