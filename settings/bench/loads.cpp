// The first use of a product, against a parse of its files that keeps nothing.

#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include "BareReader.hpp"
#include "Sizes.hpp"
#include "Table.hpp"
#include "World.hpp"

namespace qbbench {

namespace {

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

/// The tree is made before, the product is not touched.
void firstUseOf(benchmark::State& state, Files const& files) {
    countPerKey(state);
    for (auto _ : state) {
        Instance const instance(files);
        Node const root = instance.root();
        timed(state, [&] {
            if (root->getChild("p0")->getChildren().empty()) throw std::runtime_error("no keys");
        });
    }
}

void firstUse(benchmark::State& state) {
    firstUseOf(state, filesOf(static_cast<int>(state.range(0))));
}

void bareParse(benchmark::State& state) {
    std::string const file = filesOf(static_cast<int>(state.range(0))).factoryFile();
    countPerKey(state);
    for (auto _ : state)
        timed(state, [&] { bareReader().parse(file); });
}

/// The same with a file that the plain reader leaves to the validating parser.
void firstUseNotPlain(benchmark::State& state) {
    static Files const files = [] {
        Files made({1, 20, LoadedProduct::keysInGroup, false});
        std::ofstream(made.factoryFile(), std::ios::app) << "<?for somebody else?>\n";
        return made;
    }();
    firstUseOf(state, files);
}

void treeRead(benchmark::State& state) {
    std::string const file = filesOf(static_cast<int>(state.range(0))).factoryFile();
    countPerKey(state);
    for (auto _ : state) {
        timed(state, [&] {
            boost::property_tree::ptree tree;
            boost::property_tree::read_xml(file, tree);
        });
    }
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
               "firstUse/1", "bareParse/1", 0.7});
    table.add({"first use of a product with 1000 keys (a key)",
               "bare validating parse, schema held", "firstUse/1000", "bareParse/1000", 0.25});
    benchmark::RegisterBenchmark("treeRead", treeRead)->UseManualTime()->Arg(1000);
    table.add({"the same", "property_tree read_xml of the same file", "firstUse/1000",
               "treeRead/1000", 1});
    addFreshProcesses(table, filesOf(1000));
    benchmark::RegisterBenchmark("firstUseNotPlain", firstUseNotPlain)->UseManualTime()->Arg(1000);
    table.add({"the same, a file that is not plain", "bare validating parse, schema held",
               "firstUseNotPlain/1000", "bareParse/1000", 1.5});
    table.add({"first use of 200 products of 5 keys, root included", "sum of the bare parses",
               "firstUseOfMany", "bareParseOfMany", 0.7});
}

std::string plainFiles() {
    int read = 0;
    auto const readAll = [&read](Files const& files) {
        Instance const instance(files);
        for (Node const& product : instance.root()->getChildren()) {
            product->getChildren();
            ++read;
        }
    };
    readAll(filesOfMany());
    for (int const keys : {1, 1000})
        readAll(filesOf(keys));
    std::ifstream maps("/proc/self/maps");
    std::string const all((std::istreambuf_iterator<char>(maps)), {});
    bool const isLoaded = all.find("qbsettingsparser") != std::string::npos;
    return isLoaded ? "Not all files of the world are plain: the parser was loaded for them."
                    : "All " + std::to_string(read) + " files of the world are plain.";
}

}  // namespace qbbench
