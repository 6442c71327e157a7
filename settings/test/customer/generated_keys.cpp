// Uses headers that qbsettings_generate made, and says "good" if they are what the files say.

#include <iostream>
#include <limits>
#include <type_traits>

#include <odd.settings.hpp>
#include <plotter.settings.hpp>

namespace plotter = app::plotter;
namespace odd = app::class_;

static_assert(plotter::lineWidthMin == 0.05 && plotter::lineWidthMax == 5);
static_assert(plotter::titleMaxLength == 60 && plotter::penColorMaxSize == 3);
static_assert(plotter::scaleChoices[1] == 50);
static_assert(plotter::carriageTrimMin == -20);

// What claims a name by itself keeps it.
static_assert(std::is_same_v<decltype(odd::Size), settingscore::typed::Key<std::uint8_t> const>);
static_assert(
    std::is_same_v<decltype(odd::sizeMin), settingscore::typed::Key<std::uint64_t> const>);
static_assert(std::is_same_v<decltype(odd::int_), settingscore::typed::Key<int> const>);
static_assert(
    std::is_same_v<decltype(odd::std_::settingscore_), settingscore::typed::Key<bool> const>);
static_assert(odd::int_2Min == std::numeric_limits<long long>::min());
static_assert(odd::int_Min == std::numeric_limits<int>::min());
static_assert(odd::ratioMax == 1e300);

int main() try {
    bool good = plotter::lineWidth.get() == 0.35 && plotter::paper.get() == plotter::Paper::A4 &&
                plotter::axes::x::label.get() == std::nullopt &&
                plotter::margins::top.name() == "plotter.margins.top" &&
                odd::std_::EOF_.name() == "class.std.EOF" && odd::int_2.name() == "class.int";
    std::string texts;
    for (auto const& row : settingChoices(odd::SizeChoice()))
        texts += std::string(row.second) + ",";
    good = good && texts == "C\\,new,a-b,a b,größer \"1\"?\?/,4,";
    good = good && odd::SizeChoice::a_b != odd::SizeChoice::a_b_2;
    good = good && settingChoices(odd::Speed::minus5)[0].second == -5;
    std::cout << (good ? "good" : "bad") << '\n';
} catch (std::exception const& e) {
    std::cerr << e.what() << '\n';
    return 1;
}
