// A fresh process that reads one file, and then tells how long another one takes, in nanoseconds.
// Usage: qbbench_first store SMALL LARGE, names of products in SETTINGS_FACTORYDIR
//        qbbench_first tree SMALL LARGE, files

#include <chrono>
#include <iostream>
#include <string>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <settingscore/tree/Settings.hpp>

namespace {

bool readProduct(std::string const& name) {
    using settings::core::Settings;
    auto const product = Settings::getSettingsRoot(settings::core::BlessedZcrID)->getChild(name);
    return product && !product->getChildren().empty();
}

bool readTree(std::string const& file) {
    boost::property_tree::ptree tree;
    boost::property_tree::read_xml(file, tree);
    return !tree.empty();
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 4) return 2;
    auto* const read = std::string(argv[1]) == "store" ? &readProduct : &readTree;
    if (!read(argv[2])) return 1;
    auto const start = std::chrono::steady_clock::now();
    if (!read(argv[3])) return 1;
    std::cout << std::chrono::nanoseconds(std::chrono::steady_clock::now() - start).count() << '\n';
} catch (std::exception const& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
