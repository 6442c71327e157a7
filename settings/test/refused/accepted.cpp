// The near side of each refusal: this is a program.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <settingscore/typed/Live.hpp>

using namespace settingscore::typed;

void accepted() {
    Key<double>("p.k").set(1);
    Key<float>("p.k").set(0.5);
    Key<std::uint8_t>("p.k").set(5);
    Key<std::string>("p.k").set("text");
    Key<std::vector<bool>>("p.k").set({true, false});
    Key<std::optional<std::vector<std::string>>>("p.k").set({"a"});
    Key<std::size_t>("p.k").set(5);
    Live<std::optional<std::int64_t>> const live("p.k");
    auto const connection = Key<int>("p.k").onChange([](double) {});
    Batch({}).set(Key<std::string>("p.k"), "text").set(Key<double>("p.k"), 1).apply();
}
