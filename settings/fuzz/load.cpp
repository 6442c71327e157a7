// The load of a product from its files, and the questions that a client then asks.
// Input: the text of the factory file and, behind a NUL, that of the user file. The one can name
// the other as an additional path.

#include <qbhost/QbHost.hpp>
#include <settingscore/errors/InternalError.hpp>
#include <settingscore/host/Platform.hpp>
#include <settingscore/rules/RunTimeDefault.hpp>
#include <settingscore/tree/KeyDescription.hpp>
#include <support/TempFolder.hpp>

#include "Fuzzing.hpp"
#include "Trees.hpp"

namespace qbfuzz {

namespace {

using namespace settings::core;

/// Runs work that may end with any of the library's own errors, or with a number's that was too
/// large or no number.
template <class Work>
void attempt(Work const& work) {
    try {
        work();
    } catch (qf::except::IException const&) {
    } catch (boost::bad_lexical_cast const&) {
    } catch (boost::numeric::bad_numeric_cast const&) {
    }
}

/// Computed defaults that are not a library's have a value: the length of the function's name.
void installBridges() {
    auto const compute = [](std::string const&, std::string const& function) {
        return boost::any(static_cast<int>(function.size()));
    };
    JRunTimeDefault::setJRuntimeDefaultProxy(compute);
    ZRunTimeDefault::setZRunTimeProxyFname(
        [compute](std::string const& package, std::string const& function, boost::any* value) {
            *value = compute(package, function);
        });
}

void ask(boost::shared_ptr<Settings> const& group) {
    for (auto const& child : group->getChildren()) {
        std::string const name = child->getName();
        child->getFullName();
        child->isReadOnly();
        if (!child->isLeafNode()) {
            ask(child);
            continue;
        }
        KeyDescription const description = describeKey(child);
        group->getAnyMetaData(name);
        boost::any value;
        for (char const* level : {"session", "user", "factory", ""})
            attempt([&] { value = group->getAny(name, level); });
        attempt([&] {
            group->setAny(name, value, "session");
            group->unset(name, "session");
        });
    }
}

}  // namespace

void fuzz(std::string const& input) {
    static bool const once = (installBridges(), true);
    static_cast<void>(once);
    auto const texts = pieces(input, 2);
    qbtest::writeFile(folder() / "also.settings", texts[1]);
    NodePtr const read = parse(folder() / "first.settings", texts[0]);
    std::string product = read ? read->getName() : "p";
    if (!zx_array_api::zxIsValidVarName(product) || product == "gridpool") product = "p";
    auto const factory = folder() / "toolbox" / product;
    auto const userFile = folder() / "user" / (product + ".settings");
    qbtest::writeFile(factory / "first.settings", texts[0]);
    if (!texts[1].empty()) qbtest::writeFile(userFile, texts[1]);
    ZcrID const instance(1);
    require(qbhost::startInstance(instance), "an instance starts");
    auto const node = Settings::getSettingsRoot(instance)->getChild(product);
    require(node != nullptr, "a product with a file is there", product);
    // The first access tells what is wrong with the files, the next one goes to what was read.
    attempt([&] { node->getChildren(); });
    ask(node);
    qbhost::endInstance(instance);
    std::filesystem::remove_all(factory);
    std::filesystem::remove(userFile);
}

}  // namespace qbfuzz
