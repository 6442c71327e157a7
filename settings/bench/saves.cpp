// Changes that reach the file, against a general XML library that writes the same file.

#include <cstdio>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <settingscore/persistence/DurableSaving.hpp>

#include "Sizes.hpp"
#include "Table.hpp"
#include "World.hpp"

namespace qbbench {

namespace {

namespace ptree = boost::property_tree;

std::string const key = "k4";
std::string const user = "user";

LoadedProduct const& onDisk() {
    static LoadedProduct const product(1000, Files::Place::disk);
    return product;
}

void setInTurn(benchmark::State& state, LoadedProduct const& loaded) {
    state.counters["per"] = loaded.keys;
    boost::any const values[] = {0.5, 1.5};
    std::size_t turn = 0;
    // From here on each value is another one than the one before.
    loaded.group->setAny(key, values[turn], user);
    for (auto _ : state)
        loaded.group->setAny(key, values[turn ^= 1], user);
}

void setSaved(benchmark::State& state) {
    setInTurn(state, LoadedProduct::of(static_cast<int>(state.range(0))));
}

void setSavedOnDisk(benchmark::State& state) { setInTurn(state, onDisk()); }

void setSavedDurably(benchmark::State& state) {
    settings::core::turnOnDurableSaving();
    setInTurn(state, onDisk());
    settings::core::turnOffDurableSaving();
}

void ptreeSaveOf(benchmark::State& state, LoadedProduct const& loaded) {
    loaded.group->setAny(key, 2.5, user);
    ptree::ptree tree;
    ptree::read_xml(loaded.files.userFile(), tree, ptree::xml_parser::trim_whitespace);
    std::string const temporary = loaded.files.scratchFile("ptree.tmp");
    std::string const real = loaded.files.scratchFile("ptree.xml");
    ptree::xml_writer_settings<std::string> const indented(' ', 4);
    state.counters["per"] = loaded.keys;
    for (auto _ : state) {
        ptree::write_xml(temporary, tree, std::locale::classic(), indented);
        if (std::rename(temporary.c_str(), real.c_str()) != 0) state.SkipWithError("rename");
    }
}

void ptreeSave(benchmark::State& state) { ptreeSaveOf(state, LoadedProduct::of(1000)); }

void ptreeSaveOnDisk(benchmark::State& state) { ptreeSaveOf(state, onDisk()); }

}  // namespace

void addSaves(Table& table) {
    forEachSize(benchmark::RegisterBenchmark("setSaved", setSaved));
    benchmark::RegisterBenchmark("ptreeSave", ptreeSave);
    benchmark::RegisterBenchmark("setSavedOnDisk", setSavedOnDisk)->UseRealTime();
    benchmark::RegisterBenchmark("setSavedDurably", setSavedDurably)->UseRealTime();
    benchmark::RegisterBenchmark("ptreeSaveOnDisk", ptreeSaveOnDisk)->UseRealTime();
    table.add({"set that reaches the file, 1000 doubles in 20 groups (a key)",
               "property_tree write_xml and rename", "setSaved/1000", "ptreeSave", 1});
    table.add(
        {"the same on the disk", "the same on the disk", "setSavedOnDisk", "ptreeSaveOnDisk", 1});
    table.add({"the same on the disk, durable", "the default save on the disk", "setSavedDurably",
               "setSavedOnDisk", std::nullopt});
}

}  // namespace qbbench
