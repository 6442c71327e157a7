// Changes that reach the file, against a general XML library that writes the same file.

#include <cstdio>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include "Sizes.hpp"
#include "Table.hpp"
#include "World.hpp"

namespace qbbench {

namespace {

namespace ptree = boost::property_tree;

std::string const key = "k4";
std::string const user = "user";

void setSaved(benchmark::State& state) {
    auto const& loaded = LoadedProduct::of(static_cast<int>(state.range(0)));
    countPerKey(state);
    boost::any const values[] = {0.5, 1.5};
    std::size_t turn = 0;
    for (auto _ : state)
        loaded.group->setAny(key, values[turn ^= 1], user);
}

void ptreeSave(benchmark::State& state) {
    auto const& loaded = LoadedProduct::of(1000);
    loaded.group->setAny(key, 2.5, user);
    ptree::ptree tree;
    ptree::read_xml(loaded.files.userFile(), tree, ptree::xml_parser::trim_whitespace);
    std::string const temporary = loaded.files.scratchFile("ptree.tmp");
    std::string const real = loaded.files.scratchFile("ptree.xml");
    ptree::xml_writer_settings<std::string> const indented(' ', 4);
    state.counters["per"] = 1000;
    for (auto _ : state) {
        ptree::write_xml(temporary, tree, std::locale::classic(), indented);
        if (std::rename(temporary.c_str(), real.c_str()) != 0) state.SkipWithError("rename");
    }
}

}  // namespace

void addSaves(Table& table) {
    forEachSize(benchmark::RegisterBenchmark("setSaved", setSaved));
    benchmark::RegisterBenchmark("ptreeSave", ptreeSave);
    table.add({"set that reaches the file, 1000 doubles in 20 groups (a key)",
               "property_tree write_xml and rename", "setSaved/1000", "ptreeSave", 1});
}

}  // namespace qbbench
