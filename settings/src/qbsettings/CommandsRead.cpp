// Commands that show settings and change nothing.

#include <algorithm>
#include <iostream>

#include <boost/optional.hpp>
#include <qbsettings/Commands.hpp>
#include <qbsettings/Failure.hpp>
#include <qbsettings/KeyState.hpp>
#include <qbsettings/Names.hpp>
#include <qbsettings/Rules.hpp>
#include <qbsettings/Text.hpp>
#include <qbsettings/Values.hpp>
#include <settingscore/prefdir/PreferencesDirectory.hpp>
#include <settingscore/tree/Settings.hpp>
#include <settingscore/tree/ZSettings.hpp>

namespace qbsettings {

using settings::core::BlessedZcrID;
using settings::core::ZSettings;

namespace {

std::string valueColumn(boost::any const& value) {
    return asColumn(join(elementTexts(value), ", "));
}

/// One line of what is told about a node: "field<TAB>value".
void printField(char const* field, std::string const& value) {
    std::cout << field << '\t' << value << '\n';
}

/// Prints the rows of a node and of all below it. False if something could not be read.
bool listBelow(Context& context, SettingsPtr const& node) {
    if (node->isLeafNode()) {
        KeyState const state = readKey(node);
        std::cout << asColumn(state.name) << '\t' << typeOf(state.description).name() << '\t'
                  << state.level << '\t' << valueColumn(state.value) << '\n';
        if (!state.problem.empty()) complain(state.name + ": " + state.problem);
        return state.problem.empty();
    }
    bool good = true;
    for (SettingsPtr const& child : context.loading([&] { return node->getChildren(); })) {
        good = listBelow(context, child) && good;
    }
    return good;
}

/// A row of "describe" with the columns that "list" has behind the type.
void printValue(char const* field, std::string const& source, boost::any const& value) {
    std::cout << field << '\t' << source << '\t' << valueColumn(value) << '\n';
}

void describeValues(SettingsPtr const& key, KeyState const& state) {
    auto const& stored = state.description.storedLevels;
    for (std::string const& level : levelNames()) {
        bool const isStored = std::find(stored.begin(), stored.end(), level) != stored.end();
        bool const isComputed = !isStored && levelOf(state.description.runTimeDefault) == level;
        boost::any value;
        // A default that fails is told with the value in force.
        if (isStored || (isComputed && state.problem.empty())) value = valueOn(key, level);
        printValue(level.c_str(), isStored ? level : isComputed ? "runtime:" + level : "-", value);
    }
    printValue("in force", state.level, state.value);
}

bool describeKeyNode(SettingsPtr const& key) {
    KeyState const state = readKey(key);
    auto const& description = state.description;
    printField("type", typeOf(description).name());
    printField("elements", description.arraySize ? sizeText(description.arraySize->first,
                                                            description.arraySize->second)
                                                 : "-");
    std::string const range = rangeText(description);
    printField("range", range.empty() ? "-" : range);
    std::vector<std::string> const choices = choiceTexts(description);
    printField("choices", choices.empty() ? "-" : asColumn(join(choices, ", ")));
    std::string const validator = functionText(description.validator);
    printField("validator", validator.empty() ? "-" : asColumn(validator));
    std::string const computed = functionText(description.runTimeDefault);
    printField(
        "runtime default",
        computed.empty() ? "-" : asColumn(computed) + " on " + levelOf(description.runTimeDefault));
    describeValues(key, state);
    if (!state.problem.empty()) complain(state.name + ": " + state.problem);
    return state.problem.empty();
}

void describeGroup(Context& context, SettingsPtr const& group) {
    std::string const validator = functionText(group->getValidator());
    printField("validator", validator.empty() ? "-" : asColumn(validator));
    for (SettingsPtr const& child : context.loading([&] { return group->getChildren(); })) {
        printField(child->isLeafNode() ? "key" : "group", asColumn(child->getName()));
    }
}

std::string shown(qf::ustring const& directory) {
    return directory.empty() ? "-" : asColumn(pathText(directory));
}

}  // namespace

int listCommand(Context& context, Arguments const& arguments) {
    SettingsPtr const top =
        arguments.names.empty() ? context.root() : findNode(context, arguments.name());
    bool const good = listBelow(context, top);
    return good && context.faults().empty() ? done : refused;
}

int getCommand(Context& context, Arguments const& arguments) {
    if (!arguments.level.empty()) requireLevel(arguments.level);
    SettingsPtr const key = findKey(context, arguments.name());
    boost::any const value = valueOn(key, arguments.level);
    for (std::string const& text : elementTexts(value))
        std::cout << text << '\n';
    if (!context.faults().empty()) return refused;
    return value.empty() ? nothingThere : done;
}

int describeCommand(Context& context, Arguments const& arguments) {
    SettingsPtr const node = findNode(context, arguments.name());
    SettingsPtr product = node;
    while (!product->getParent()->isRoot())
        product = product->getParent();
    bool good = true;
    printField("name", asColumn(node->getFullName()));
    printField("kind", node->isLeafNode() ? "key" : node == product ? "product" : "group");
    if (node->isLeafNode()) {
        good = describeKeyNode(node);
    } else {
        // Before the flags, which come with the content of a product.
        context.loading([&] { return node->getChildren(); });
    }
    printField("read-only", node->isReadOnly() ? "yes" : "no");
    printField("visible", node->isVisible() ? "yes" : "no");
    boost::optional<unsigned int> const version = product->getVersionNumber();
    printField("version", version ? std::to_string(*version) : "-");
    if (!node->isLeafNode()) describeGroup(context, node);
    return good && context.faults().empty() ? done : refused;
}

int dirsCommand(Context& context, Arguments const&) {
    context.root();
    printField("factory", shown(ZSettings::getFactoryDir(BlessedZcrID)));
    printField("workgroup", shown(ZSettings::getWorkgroupDir(BlessedZcrID)));
    printField("user", shown(context.userDirectory()));
    printField("host", shown(settings::core::zenbarRootUStr()));
    return done;
}

}  // namespace qbsettings
