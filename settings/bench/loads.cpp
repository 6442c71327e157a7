// The first use of a product, against a parse of its files that keeps nothing.

#include <chrono>
#include <map>
#include <memory>
#include <stdexcept>

#include "BareReader.hpp"
#include "Sizes.hpp"
#include "Table.hpp"
#include "World.hpp"

namespace qbbench {

namespace {

using Clock = std::chrono::steady_clock;

int const manyProducts = 200;

Files const& filesOf(int keys) {
    if (keys == 1) {
        static Files const single({1, 0, 1, false});
        return single;
    }
    static std::map<int, std::unique_ptr<Files>> files;
    auto& found = files[keys];
    if (!found) {
        found = std::make_unique<Files>(
            Files::Shape{1, keys / LoadedProduct::keysInGroup, LoadedProduct::keysInGroup, false});
    }
    return *found;
}

Files const& filesOfMany() {
    static Files const files({manyProducts, 0, 5, false});
    return files;
}

BareReader const& bareReader() {
    static BareReader const reader(QBBENCH_SCHEMA);
    return reader;
}

template <class Work>
void timed(benchmark::State& state, Work const& work) {
    auto const start = Clock::now();
    work();
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
}

/// The tree is made before, the product is not touched.
void firstUse(benchmark::State& state) {
    Files const& files = filesOf(static_cast<int>(state.range(0)));
    countPerKey(state);
    for (auto _ : state) {
        Instance const instance(files);
        Node const root = instance.root();
        timed(state, [&] {
            if (root->getChild("p0")->getChildren().empty()) throw std::runtime_error("no keys");
        });
    }
}

void bareParse(benchmark::State& state) {
    std::string const file = filesOf(static_cast<int>(state.range(0))).factoryFile();
    countPerKey(state);
    for (auto _ : state)
        timed(state, [&] { bareReader().parse(file); });
}

void firstUseOfMany(benchmark::State& state) {
    for (auto _ : state) {
        Instance const instance(filesOfMany());
        timed(state, [&] {
            Node const root = instance.root();
            for (Node const& product : root->getChildren()) {
                if (!product->getChild("k0")) throw std::runtime_error("no key");
            }
        });
    }
}

void bareParseOfMany(benchmark::State& state) {
    for (auto _ : state) {
        timed(state, [&] {
            for (int i = 0; i < manyProducts; ++i)
                bareReader().parse(filesOfMany().factoryFile(i));
        });
    }
}

}  // namespace

void addLoads(Table& table) {
    forEachSize(benchmark::RegisterBenchmark("firstUse", firstUse)->UseManualTime()->Arg(1));
    benchmark::RegisterBenchmark("bareParse", bareParse)->UseManualTime()->Arg(1)->Arg(1000);
    benchmark::RegisterBenchmark("firstUseOfMany", firstUseOfMany)->UseManualTime();
    benchmark::RegisterBenchmark("bareParseOfMany", bareParseOfMany)->UseManualTime();
    table.add({"first use of a product with one key", "bare validating parse, schema held",
               "firstUse/1", "bareParse/1", 3});
    table.add({"first use of a product with 1000 keys (a key)",
               "bare validating parse, schema held", "firstUse/1000", "bareParse/1000", 1.5});
    table.add({"first use of 200 products of 5 keys, root included", "sum of the bare parses",
               "firstUseOfMany", "bareParseOfMany", 2});
}

}  // namespace qbbench
