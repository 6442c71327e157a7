// What is no program, one case a line that ends in "refused: " and a part of the sentence for it.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <settingscore/typed/Live.hpp>

using namespace settingscore::typed;

enum class Bare { one };
enum class Empty {};
struct Other {};

// clang-format off
void refused() {
    Key<char> const character("p.k");  // refused: no key has values of this type
    Key<long double> const wide("p.k");  // refused: no key has values of this type
    Key<char const*> const text("p.k");  // refused: no key has values of this type
    Key<Other> const other("p.k");  // refused: no key has values of this type
    Key<Bare> const bare("p.k");  // refused: constexpr auto settingChoices(Enum)
    Key<std::vector<Empty>> const bares("p.k");  // refused: constexpr auto settingChoices(Enum)
    Key<std::vector<std::vector<int>>> const nested("p.k");  // refused: the elements of an array are no arrays
    Key<std::vector<std::optional<int>>> const holes("p.k");  // refused: stands around the whole type of a key
    Key<std::optional<std::optional<int>>> const twice("p.k");  // refused: stands around the whole type of a key
    Live<char16_t> const live("p.k");  // refused: no key has values of this type
    Key<int>("p.k").set(0.5);  // refused: takes no number with a fraction
    Key<unsigned char>("p.k").set("5");  // refused: a text is no value for a key of numbers
    Key<bool>("p.k").set(1);  // refused: takes true and false alone
    Key<double>("p.k").set(true);  // refused: takes true and false alone
    Key<std::string>("p.k").set(65);  // refused: a number is no value for a key of texts
    Key<int>("p.k").onChange([](Other) {});  // refused: the listener of onChange is called with the new value
    Batch({}).set(Key<double>("p.k"), Other());  // refused: this is no value for a key of that type
    Batch({}).set(Key<short>("p.k"), 0.5);  // refused: takes no number with a fraction
}
// clang-format on
