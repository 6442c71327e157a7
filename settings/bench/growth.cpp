// Whether the work on one key stays what it is while products grow, and that on a product while
// they become more.

#include <vector>

#include <settingscore/tree/SettingsSaving.hpp>
#include <settingscore/tree/ZSettings.hpp>

#include "Sizes.hpp"
#include "Table.hpp"
#include "World.hpp"

namespace qbbench {

namespace {

struct Work {
    std::string work;
    std::string benchmark;
};

/// In memory: what their files cost is no question of their number.
void addProducts(benchmark::State& state) {
    using settings::core::ZSettings;
    static Files const files({1, 0, 1, false});
    settings::core::turnOffSettingsSaving();
    countPerKey(state);
    for (auto _ : state) {
        Instance const instance(files);
        Node const root = instance.root();
        std::vector<boost::shared_ptr<ZSettings>> products;
        for (int i = 0; i < state.range(0); ++i) {
            products.push_back(boost::dynamic_pointer_cast<ZSettings>(ZSettings::createSettingsNode(
                "added" + std::to_string(i), false, true, {}, false)));
        }
        timed(state, [&] {
            for (auto const& product : products)
                product->setParent(root);
        });
    }
    settings::core::turnOnSettingsSaving();
}

}  // namespace

void addGrowth(Table& table) {
    Work const works[] = {{"getAny", "getAny"},
                          {"read by full name", "getAnyByFullNameOfMany"},
                          {"set, value changed", "setChanged"},
                          {"set with a listener", "setHeard"},
                          {"set of an equal value", "setEqual"},
                          {"set that reaches the file, for each key in it", "setSaved"},
                          {"first use, for each key", "firstUse"},
                          {"memory of a key", "keyMemory"}};
    int const few = 100;
    int const many = 10000;
    benchmark::RegisterBenchmark("addProducts", addProducts)->UseManualTime()->Arg(few)->Arg(many);
    // What is flat in theory is not so to the digit: caches and the depth of maps count as well.
    double const flat = 1.5;
    for (auto const& [work, benchmark] : works) {
        for (int const keys : sizes) {
            if (keys == 100) continue;
            table.add({work + ", product of " + std::to_string(keys) + " keys", "product of 100",
                       benchmark + "/" + std::to_string(keys), benchmark + "/100", flat});
        }
    }
    // Names are found in maps, whose depth doubles here; a search through all would be a hundred
    // times as slow.
    double const depth = 2.5;
    table.add({"adding a product, " + std::to_string(many) + " of them",
               std::to_string(few) + " of them", "addProducts/" + std::to_string(many),
               "addProducts/" + std::to_string(few), depth});
}

}  // namespace qbbench
