// Reads of one double, against the lock that a read can't do without.

#include <boost/thread/lock_types.hpp>
#include <boost/thread/shared_mutex.hpp>
#include <settingscore/typed/Live.hpp>
#include <settingscore/value/Get.hpp>

#include "Sizes.hpp"
#include "Table.hpp"
#include "World.hpp"

namespace qbbench {

namespace {

namespace typed = settingscore::typed;

std::string const key = "k1";
std::string const inForce;

void sharedLock(benchmark::State& state) {
    static auto& mutex = *new boost::shared_mutex;
    for (auto _ : state) {
        boost::shared_lock<boost::shared_mutex> const lock(mutex);
        benchmark::ClobberMemory();
    }
}

void getAny(benchmark::State& state) {
    auto const& loaded = LoadedProduct::of(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(loaded.group->getAny(key, inForce));
}

void getAnyAndCast(benchmark::State& state) {
    auto const& loaded = LoadedProduct::of(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            settingscore::boostany::get<double>(loaded.group->getAny(key, inForce), false));
    }
}

typed::Key<double> keyOf(LoadedProduct const& loaded) {
    return typed::Key<double>(loaded.groupFullName + "." + key, loaded.root->getZcrID());
}

void keyGet(benchmark::State& state) {
    typed::Key<double> const held = keyOf(LoadedProduct::of(static_cast<int>(state.range(0))));
    for (auto _ : state)
        benchmark::DoNotOptimize(held.get());
}

void liveGet(benchmark::State& state) {
    // Not beyond this run: it is an audience, which sets without a listener must not have.
    typed::Live<double> const live(keyOf(LoadedProduct::of(static_cast<int>(state.range(0)))));
    for (auto _ : state)
        benchmark::DoNotOptimize(live.get());
}

/// What a figure of its own is held against.
void nanosecond(benchmark::State& state) {
    for (auto _ : state)
        benchmark::ClobberMemory();
    state.counters["figure"] = 1;
}

/// Four deep: root, product, two groups, and the group's key.
void getAnyByFullName(benchmark::State& state) {
    static Files const files({0, 0, 0, false});
    static auto const factoryFile = qbtest::writeFile(
        files.factoryFile(),
        Settings::settingsXMLFileHeader + "\n<settings name=\"p0\" visible=\"true\" " +
            Settings::settingsSchemaInfo +
            "><settings name=\"axes\"><settings name=\"ticks\"><key name=\"k1\">"
            "<double><value>0.5</value></double></key></settings></settings></settings>\n");
    static Instance const instance(files);
    static Node const root = instance.root();
    static std::string const fullName = "p0.axes.ticks";
    for (auto _ : state) {
        benchmark::DoNotOptimize(root->getSettingsByFullName(fullName)->getAny(key, inForce));
    }
}

/// The same in a product of many groups.
void getAnyByFullNameOfMany(benchmark::State& state) {
    auto const& loaded = LoadedProduct::of(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            loaded.root->getSettingsByFullName(loaded.groupFullName)->getAny(key, inForce));
    }
}

}  // namespace

void addReads(Table& table) {
    benchmark::RegisterBenchmark("sharedLock", sharedLock);
    forEachSize(benchmark::RegisterBenchmark("getAny", getAny));
    benchmark::RegisterBenchmark("getAnyAndCast", getAnyAndCast)->Arg(1000);
    benchmark::RegisterBenchmark("keyGet", keyGet)->Arg(1000);
    benchmark::RegisterBenchmark("liveGet", liveGet)->Arg(1000);
    benchmark::RegisterBenchmark("nanosecond", nanosecond);
    benchmark::RegisterBenchmark("getAnyByFullName", getAnyByFullName);
    forEachSize(benchmark::RegisterBenchmark("getAnyByFullNameOfMany", getAnyByFullNameOfMany));
    table.add({"getAny on a group held, double on two levels", "shared lock and unlock",
               "getAny/1000", "sharedLock", 3});
    table.add({"get on a Key<double> held", "getAny on its group, with the cast", "keyGet/1000",
               "getAnyAndCast/1000", 1.2});
    table.add({"get on a Live<double>", "a nanosecond", "liveGet/1000", "nanosecond", 5});
    table.add({"read through getSettingsByFullName, four deep", "shared lock and unlock",
               "getAnyByFullName", "sharedLock", 7});
}

}  // namespace qbbench
