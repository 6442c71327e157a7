// Changes that stay in memory, against the locks that a change can't do without.

#include <boost/thread/lock_types.hpp>
#include <boost/thread/shared_mutex.hpp>
#include <settingscore/tree/SettingsEvent.hpp>

#include "Sizes.hpp"
#include "Table.hpp"
#include "World.hpp"

namespace qbbench {

namespace {

using settings::core::SettingsEvent;

std::string const key = "k2";
std::string const session = "session";

void upgradeAndUnique(benchmark::State& state) {
    static auto& mutex = *new boost::shared_mutex;
    for (auto _ : state) {
        boost::upgrade_lock<boost::shared_mutex> lock(mutex);
        boost::upgrade_to_unique_lock<boost::shared_mutex> const exclusive(lock);
        benchmark::ClobberMemory();
    }
}

void upgradeAlone(benchmark::State& state) {
    static auto& mutex = *new boost::shared_mutex;
    for (auto _ : state) {
        boost::upgrade_lock<boost::shared_mutex> const lock(mutex);
        benchmark::ClobberMemory();
    }
}

void setInTurn(benchmark::State& state, Node const& group) {
    boost::any const values[] = {0.5, 1.5};
    std::size_t turn = 0;
    // From here on each value is another one than the one before.
    group->setAny(key, values[turn], session);
    for (auto _ : state)
        group->setAny(key, values[turn ^= 1], session);
}

void setChanged(benchmark::State& state) {
    setInTurn(state, LoadedProduct::of(static_cast<int>(state.range(0))).group);
}

void setHeard(benchmark::State& state) {
    auto const& loaded = LoadedProduct::of(static_cast<int>(state.range(0)));
    benchmark::IterationCount heard = 0;
    auto const connection = loaded.product->addListener(
        boost::function<void(SettingsEvent const&)>([&](SettingsEvent const&) { ++heard; }));
    setInTurn(state, loaded.group);
    if (heard < state.iterations()) state.SkipWithError("changes were not heard");
}

void setEqual(benchmark::State& state) {
    auto const& loaded = LoadedProduct::of(static_cast<int>(state.range(0)));
    boost::any const value = 2.5;
    loaded.group->setAny(key, value, session);
    for (auto _ : state)
        loaded.group->setAny(key, value, session);
}

}  // namespace

void addSets(Table& table) {
    benchmark::RegisterBenchmark("upgradeAndUnique", upgradeAndUnique);
    benchmark::RegisterBenchmark("upgradeAlone", upgradeAlone);
    forEachSize(benchmark::RegisterBenchmark("setChanged", setChanged));
    forEachSize(benchmark::RegisterBenchmark("setHeard", setHeard));
    forEachSize(benchmark::RegisterBenchmark("setEqual", setEqual));
    table.add({"set on \"session\", value changed, no listener", "upgrade and unique pair",
               "setChanged/1000", "upgradeAndUnique", 6});
    table.add({"the same with one listener on the product", "upgrade and unique pair",
               "setHeard/1000", "upgradeAndUnique", 15});
    table.add({"set of an equal value", "upgrade pair", "setEqual/1000", "upgradeAlone", 6});
}

}  // namespace qbbench
