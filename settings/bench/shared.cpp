// What it costs that several processes can save the same files, when nobody else does and when
// somebody does.

#include <sys/stat.h>

#include <settingscore/persistence/DurableSaving.hpp>
#include <settingscore/persistence/SharedSaving.hpp>
#include <settingscore/roots/SettingsFileWatch.hpp>

#include "Sizes.hpp"
#include "Table.hpp"
#include "World.hpp"

namespace qbbench {

namespace {

using settings::core::SettingsFileWatch;

std::string const key = "k6";
std::string const user = "user";
int const manyProducts = 200;

/// The mode, until the end of the scope.
struct Shared {
    Shared() { settings::core::turnOnSharedSaving(); }
    ~Shared() { settings::core::turnOffSharedSaving(); }
};

void setInTurn(benchmark::State& state, LoadedProduct const& loaded, std::string const& level) {
    boost::any const values[] = {0.5, 1.5};
    std::size_t turn = 0;
    loaded.group->setAny(key, values[turn], level);
    for (auto _ : state)
        loaded.group->setAny(key, values[turn ^= 1], level);
}

void setSavedShared(benchmark::State& state) {
    state.counters["per"] = 1000;
    Shared const mode;
    setInTurn(state, LoadedProduct::of(1000), user);
}

void setSavedSharedDurably(benchmark::State& state) {
    static LoadedProduct const loaded(1000, Files::Place::disk);
    state.counters["per"] = 1000;
    Shared const mode;
    settings::core::turnOnDurableSaving();
    setInTurn(state, loaded, user);
    settings::core::turnOffDurableSaving();
}

void setChangedShared(benchmark::State& state) {
    Shared const mode;
    setInTurn(state, LoadedProduct::of(1000), "session");
}

void setChangedAndStat(benchmark::State& state) {
    LoadedProduct const& loaded = LoadedProduct::of(1000);
    std::string const file = loaded.files.userFile();
    boost::any const values[] = {0.5, 1.5};
    std::size_t turn = 0;
    loaded.group->setAny(key, values[turn], "session");
    for (auto _ : state) {
        struct ::stat status {};
        benchmark::DoNotOptimize(::stat(file.c_str(), &status));
        loaded.group->setAny(key, values[turn ^= 1], "session");
    }
}

/// The values of two groups.
void batchSavedShared(benchmark::State& state) {
    LoadedProduct const& loaded = LoadedProduct::of(1000);
    state.counters["per"] = 1000;
    Shared const mode;
    std::vector<Settings::NameValue> values[2];
    for (int const group : {3, 4}) {
        for (int i = 0; i < LoadedProduct::keysInGroup; ++i) {
            std::string const name = "g" + std::to_string(group) + ".k" + std::to_string(i);
            values[0].emplace_back(name, 0.5);
            values[1].emplace_back(name, 1.5);
        }
    }
    std::size_t turn = 0;
    loaded.product->setMultiple(values[turn], user);
    for (auto _ : state) {
        if (!loaded.product->setMultiple(values[turn ^= 1], user).empty())
            state.SkipWithError("a batch was refused");
    }
}

void refreshNothing(benchmark::State& state) {
    static Files const files({manyProducts, 0, 5, true});
    Shared const mode;
    Instance const instance(files);
    for (Node const& product : instance.root()->getChildren())
        product->getChildren();
    SettingsFileWatch watch(instance.id());
    watch.refresh();
    state.counters["per"] = manyProducts;
    for (auto _ : state) {
        if (watch.refresh().changedNodes != 0) state.SkipWithError("something changed");
    }
}

void twoMicroseconds(benchmark::State& state) {
    for (auto _ : state)
        state.counters["figure"] = 2000;
}

void refreshOneKey(benchmark::State& state) {
    static Files const files({1, 20, LoadedProduct::keysInGroup, true});
    Shared const mode;
    Instance const here(files);
    Instance const there(files);
    here.root()->getChild("p0")->getChildren();
    Node const group = there.root()->getChild("p0")->getChild("g3");
    SettingsFileWatch watch(here.id());
    watch.refresh();
    state.counters["per"] = 1000;
    static double value = 0.5;  // Another one in each repetition, too.
    for (auto _ : state) {
        group->setAny(key, value += 1, user);
        timed(state, [&] {
            if (watch.refresh().changedNodes != 1) state.SkipWithError("it was not one key");
        });
    }
}

/// The first use of a product that has a user file.
void firstUseOfUsers(benchmark::State& state) {
    static Files const files({1, 20, LoadedProduct::keysInGroup, true});
    state.counters["per"] = 1000;
    for (auto _ : state) {
        Instance const instance(files);
        Node const root = instance.root();
        timed(state, [&] { benchmark::DoNotOptimize(root->getChild("p0")->getChildren()); });
    }
}

}  // namespace

void addShared(Table& table) {
    benchmark::RegisterBenchmark("setSavedShared", setSavedShared);
    benchmark::RegisterBenchmark("setSavedSharedDurably", setSavedSharedDurably)->UseRealTime();
    benchmark::RegisterBenchmark("setChangedShared", setChangedShared);
    benchmark::RegisterBenchmark("setChangedAndStat", setChangedAndStat);
    benchmark::RegisterBenchmark("batchSavedShared", batchSavedShared);
    benchmark::RegisterBenchmark("refreshNothing", refreshNothing);
    benchmark::RegisterBenchmark("twoMicroseconds", twoMicroseconds)->Iterations(1);
    benchmark::RegisterBenchmark("refreshOneKey", refreshOneKey)->UseManualTime();
    benchmark::RegisterBenchmark("firstUseOfUsers", firstUseOfUsers)->UseManualTime();
    table.add({"set that reaches the file, shared, nobody else writes", "the default save",
               "setSavedShared", "setSaved/1000", 1.15});
    table.add({"the same on the disk, durable", "the durable save", "setSavedSharedDurably",
               "setSavedDurably", 1.15});
    table.add({"set on \"session\", shared", "the same without, and one stat", "setChangedShared",
               "setChangedAndStat", 1.15});
    table.add({"batch of 100 keys that reaches the file, shared", "one set that does",
               "batchSavedShared", "setSavedShared", 1.5});
    table.add({"refresh, nothing changed, a product of 200", "2 microseconds", "refreshNothing",
               "twoMicroseconds", 1});
    table.add({"refresh, one of 1000 keys changed (a key)", "first use of the product",
               "refreshOneKey", "firstUseOfUsers", 1});
}

}  // namespace qbbench
