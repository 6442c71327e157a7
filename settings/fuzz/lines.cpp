// `set-many`: lines of text against a product with a key of every kind.

#include <iostream>

#include <nlohmann/json.hpp>
#include <qbsettings/commandline/CommandLine.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Json.hpp>
#include <qbsettings/text/Lines.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/tree/KeyDescription.hpp>
#include <settingscore/tree/Settings.hpp>
#include <settingscore/value/ValueTraits.hpp>
#include <support/TempFolder.hpp>

#include "Fuzzing.hpp"

namespace qbfuzz {

namespace {

using namespace qbsettings;
using settings::core::Settings;

/// The product "p": a key of each type, named as its type, an array of each, named with an "s"
/// behind, one of any type, and one with a range.
void installProduct() {
    std::string text = Settings::settingsXMLFileHeader + "\n<settings name=\"p\" " +
                       Settings::settingsSchemaInfo + ">\n";
    settingscore::boostany::forEachElementType([&](auto tag) {
        std::string const type =
            settingscore::boostany::ValueTraits<typename decltype(tag)::Type>::name;
        std::string const sizes = " minArraySize=\"0\" maxArraySize=\"0\"";
        text += "<key name=\"" + type + "\"><" + type + "/></key>\n";
        text += "<key name=\"" + type + "s\"><" + type + sizes + "/></key>\n";
    });
    text +=
        "<key name=\"any\" anytype=\"true\"></key>\n"
        "<settings name=\"g\"><key name=\"k\"><int32><value>3</value><metadata><min>1</min>"
        "<max>9</max></metadata></int32></key></settings>\n</settings>\n";
    qbtest::writeFile(folder() / "toolbox" / "p" / "p.settings", text);
}

Context& context() {
    constexpr Flags flags{/*json=*/true, /*replaceBroken=*/false};
    static Context context(
        [] {
            // Refusals are what most inputs end with: nobody reads them.
            std::cout.rdbuf(nullptr);
            installProduct();
            return DirectoryOptions{};
        }(),
        flags);
    return context;
}

/// What was set can be given again as it is printed in JSON. Takes it away.
void tryAndUnset(SettingsPtr const& group) {
    for (auto const& child : group->getChildren()) {
        std::string const name = child->getName();
        if (!child->isLeafNode()) {
            tryAndUnset(child);
        } else if (group->isSet(name, "session")) {
            boost::any const value = group->getAny(name, "session");
            KeyType type = typeOf(settings::core::describeKey(child));
            std::string const json = jsonOf(value, type).dump();
            if (type.any) type.element = typeOf(value).element;
            require(isSame(value, makeValue(type, elementsAsWritten(json, type))),
                    "a value that is printed as JSON can be given again", name + " = " + json);
            group->unset(name, "session");
        }
    }
}

}  // namespace

void fuzz(std::string const& input) {
    std::string const lines = qbtest::writeFile(folder() / "lines", input).string();
    CommandLine const line = parseCommandLine({"set-many", "--level", "session", "--json", lines});
    auto* const errors = std::cerr.rdbuf(nullptr);
    int const status = line.command->run(context());
    context().output.finish();
    std::cerr.rdbuf(errors);
    require(status == done || status == refused, "set-many ends with one of its two ends");
    if (status == done) tryAndUnset(context().tree.root());
}

}  // namespace qbfuzz
