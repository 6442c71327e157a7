#include "World.hpp"

#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>

#include <unistd.h>
#include <qbhost/QbHost.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/tree/ZSettings.hpp>

namespace qbbench {

namespace {

std::string number(char letter, int value) { return letter + std::to_string(value); }

std::string keys(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += "    <key name=\"" + number('k', i) + "\" visible=\"true\">\n        <double>\n" +
                "            <value>" + std::to_string(i) + ".25</value>\n" +
                "        </double>\n    </key>\n";
    }
    return text;
}

std::string productText(std::string const& name, Files::Shape const& shape) {
    std::string text = Settings::settingsXMLFileHeader + "\n<settings name=\"" + name +
                       "\" visible=\"true\" version=\"1\" " + Settings::settingsSchemaInfo + ">\n";
    std::string const groupKeys = keys(shape.keys);
    if (shape.groups == 0) text += groupKeys;
    for (int i = 0; i < shape.groups; ++i) {
        text += "  <settings name=\"" + number('g', i) + "\" visible=\"true\">\n" + groupKeys +
                "  </settings>\n";
    }
    return text + "</settings>\n";
}

std::unique_ptr<qbtest::TempFolder> makeFolder(Files::Place place) {
    char const* const inMemory = "/dev/shm";
    qbtest::ScopedEnvironment environment;
    if (place == Files::Place::memory && ::access(inMemory, W_OK | X_OK) == 0) {
        environment.set("TMPDIR", inMemory);
    }
    return std::make_unique<qbtest::TempFolder>();
}

settings::core::ZcrID nextInstance() {
    static int next = 0;
    return settings::core::ZcrID(++next);
}

}  // namespace

Files::Files(Shape const& shape, Place place) : folder_(makeFolder(place)) {
    std::filesystem::create_directories(userDir());
    for (int i = 0; i < shape.products; ++i) {
        std::string const text = productText(number('p', i), shape);
        qbtest::writeFile(factoryFile(i), text);
        if (shape.userValues) qbtest::writeFile(userFile(i), text);
    }
}

std::string Files::factoryFile(int product) const {
    std::string const name = number('p', product);
    return factoryDir() + "/" + name + "/" + name + ".settings";
}

std::string Files::userFile(int product) const {
    return userDir() + "/" + number('p', product) + ".settings";
}

Instance::Instance(Files const& files) : id_(nextInstance()) {
    if (!qbhost::startInstance(id_)) throw std::runtime_error("the instance is there already");
    settings::core::ZSettings::setSettingsFileLocation(
        id_, qf::i18n::to_ustring(files.factoryDir()), boost::none,
        qf::i18n::to_ustring(files.userDir()));
}

Instance::~Instance() { qbhost::endInstance(id_); }

LoadedProduct::LoadedProduct(int count, Files::Place place)
    : keys(count),
      files({1, count / keysInGroup, keysInGroup, true}, place),
      instance(files),
      root(instance.root()),
      product(root->getChild("p0")),
      group(product->getChild(number('g', count / keysInGroup / 2))),
      groupFullName(group->getFullName()) {}

LoadedProduct const& LoadedProduct::of(int count) {
    static std::mutex mutex;
    static std::map<int, std::unique_ptr<LoadedProduct>> products;
    std::lock_guard<std::mutex> const lock(mutex);
    auto& product = products[count];
    if (!product) product = std::make_unique<LoadedProduct>(count);
    return *product;
}

}  // namespace qbbench
