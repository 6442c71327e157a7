// What a key costs in memory.

#include <malloc.h>

#include <settingscore/tree/SettingsImpl.hpp>

#include "Sizes.hpp"
#include "Table.hpp"
#include "World.hpp"

namespace qbbench {

namespace {

using settings::core::SettingsImpl;

/// The node, and the entry of its parent's map: name and pointer under the head of a tree node.
constexpr std::size_t bareSize =
    sizeof(SettingsImpl) + sizeof(SettingsImpl::ChildMap::value_type) + 4 * sizeof(void*);
constexpr std::size_t bound = 400;

std::size_t bytesInUse() {
    auto const info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// What the heap holds more of when the product is loaded; its groups count among its keys.
void keyMemory(benchmark::State& state) {
    int const keys = static_cast<int>(state.range(0));
    int const inGroup = LoadedProduct::keysInGroup;
    Files const files({2, keys / inGroup, inGroup, false});
    for (auto _ : state) {
        Instance const instance(files);
        Node const root = instance.root();
        // What the parser and the library keep for themselves is there after the first product.
        root->getChild("p1")->getChildren();
        std::size_t const before = bytesInUse();
        root->getChild("p0")->getChildren();
        state.counters["figure"] = static_cast<double>(bytesInUse() - before) / keys;
    }
}

void constantSize(benchmark::State& state, std::size_t size) {
    for (auto _ : state)
        state.counters["figure"] = static_cast<double>(size);
}

}  // namespace

void addMemory(Table& table) {
    forEachSize(benchmark::RegisterBenchmark("keyMemory", keyMemory)->Iterations(1));
    benchmark::RegisterBenchmark("bareSize", constantSize, bareSize)->Iterations(1);
    benchmark::RegisterBenchmark("bound", constantSize, bound)->Iterations(1);
    table.add({"memory of a key with one double on one level", "node and its map entry",
               "keyMemory/1000", "bareSize", 1.5});
    table.add({"the same", "400 bytes", "keyMemory/1000", "bound", 1});
}

}  // namespace qbbench
