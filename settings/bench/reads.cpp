// Reads of one double, against the lock that a read can't do without.

#include <boost/thread/lock_types.hpp>
#include <boost/thread/shared_mutex.hpp>

#include "Sizes.hpp"
#include "Table.hpp"
#include "World.hpp"

namespace qbbench {

namespace {

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
    benchmark::RegisterBenchmark("getAnyByFullName", getAnyByFullName);
    forEachSize(benchmark::RegisterBenchmark("getAnyByFullNameOfMany", getAnyByFullNameOfMany));
    table.add({"getAny on a group held, double on two levels", "shared lock and unlock",
               "getAny/1000", "sharedLock", 3});
    table.add({"read through getSettingsByFullName, four deep", "shared lock and unlock",
               "getAnyByFullName", "sharedLock", 7});
}

}  // namespace qbbench
