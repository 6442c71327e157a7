#include <array>
#include <iostream>
#include <optional>
#include <string>

#include <settingscore/typed/Key.hpp>
#include <settingscore/typed/Live.hpp>

using namespace settingscore::typed;

// An enum stands for the choices of a key by a table beside it.
enum class Paper { a4, a3, letter, roll };
constexpr auto settingChoices(Paper) {
    return std::array<Choice<Paper>, 4>{
        {{Paper::a4, "A4"}, {Paper::a3, "A3"}, {Paper::letter, "Letter"}, {Paper::roll, "roll"}}};
}

int main() try {
    Key<double> const lineWidth("plotter.lineWidth");
    Key<Paper> const paper("plotter.paper");
    Key<std::optional<std::string>> const label("plotter.axes.x.label");  // May have no value.

    std::cout << "factory: " << lineWidth.getAt(Level::factory) << ", "
              << (label.get() ? *label.get() : "no label") << '\n';

    // Called as long as the connection lives.
    auto const connection =
        lineWidth.onChange([](double now) { std::cout << "changed to " << now << '\n'; });

    // All or nothing: every value is checked before the first is stored.
    auto const root = settings::core::Settings::getSettingsRoot(settings::core::BlessedZcrID);
    Batch(root, Level::session).set(lineWidth, 2.0).set(paper, Paper::a3).apply();

    // For a loop: follows the key, and is read without a lock.
    Live<double> const width(lineWidth);
    double drawn = 0;
    for (int line = 0; line < 1000; ++line)
        drawn += width.get();
    std::cout << "drawn: " << drawn << '\n';

    try {
        Key<int>("plotter.lineWidth").get();
    } catch (WrongType const& e) {
        std::cout << e.what() << '\n';
    }
} catch (std::exception const& e) {
    std::cerr << e.what() << '\n';
    return 1;
}
