// Commands that show settings and change nothing.

#include <iostream>

#include <boost/optional.hpp>
#include <nlohmann/json.hpp>
#include <qbhost/QbHost.hpp>
#include <qbsettings/Commands.hpp>
#include <qbsettings/Failure.hpp>
#include <qbsettings/Json.hpp>
#include <qbsettings/KeyState.hpp>
#include <qbsettings/Names.hpp>
#include <qbsettings/Rules.hpp>
#include <qbsettings/Terminal.hpp>
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

/// Takes what is told about one thing: prints it as lines "field<TAB>value", or gathers it for a
/// JSON object, where "read-only" is called "readOnly".
class Report {
public:
    explicit Report(bool json) : json_(json) {}

    void add(std::string const& field, std::string const& text) { add(field, text, jsonOf(text)); }
    void add(std::string const& field, std::string const& text, Json const& json) {
        if (json_) {
            document_[fieldName(field)] = json;
        } else {
            std::cout << field << '\t' << asColumn(text) << '\n';
        }
    }
    /// Columns that "list" has behind the type.
    void addValue(std::string const& field, std::string const& source, boost::any const& value,
                  KeyType const& type) {
        if (json_) {
            document_[fieldName(field)] = {{"source", jsonOf(source)},
                                           {"value", jsonOf(value, type)}};
        } else {
            std::cout << field << '\t' << source << '\t' << valueColumn(value) << '\n';
        }
    }
    void addChild(std::string const& kind, std::string const& name) {
        if (json_) {
            document_["children"].push_back({{"kind", kind}, {"name", name}});
        } else {
            add(kind, name);
        }
    }
    void finish() const {
        if (json_) printJson(document_);
    }

private:
    static std::string fieldName(std::string const& field) {
        std::string name;
        for (std::size_t i = 0; i < field.size(); ++i) {
            bool const isGap = field[i] == ' ' || field[i] == '-';
            if (isGap) ++i;
            name += isGap ? static_cast<char>(field[i] - 'a' + 'A') : field[i];
        }
        return name;
    }

    bool json_;
    Json document_ = Json::object();
};

/// Takes the keys of a listing: prints them row by row, or gathers them for JSON or for the columns
/// of a terminal.
class Listing {
public:
    Listing(Context& context, bool json)
        : context_(context), json_(json), aligned_(!json && isOutputTerminal()) {}

    /// Both are false if something could not be read.
    bool addProducts() {
        auto const products = context_.root()->getChildren();
        Progress progress("reading product", products.size());
        bool good = true;
        for (SettingsPtr const& product : products) {
            progress.step();
            good = addBelow(product) && good;
        }
        return good;
    }
    bool addBelow(SettingsPtr const& node) {
        if (node->isLeafNode()) return addKey(node);
        bool good = true;
        for (SettingsPtr const& child : context_.loading([&] { return node->getChildren(); })) {
            good = addBelow(child) && good;
        }
        return good;
    }
    void finish() const {
        if (json_) printJson(document_);
        printAligned(rows_);
    }

private:
    bool addKey(SettingsPtr const& key) {
        KeyState const state = readKey(key);
        KeyType const type = typeOf(state.description);
        if (json_) {
            document_.push_back({{"name", state.name},
                                 {"type", type.name()},
                                 {"level", jsonOf(state.level)},
                                 {"value", jsonOf(state.value, type)}});
        } else {
            rows_.push_back({asColumn(state.name), type.name(), state.level,
                             asColumn(join(elementTexts(state.value), ", "))});
        }
        if (!aligned_) {
            for (auto const& row : rows_)
                std::cout << join(row, "\t") << '\n';
            rows_.clear();
        }
        if (!state.problem.empty()) complain(state.name + ": " + state.problem);
        return state.problem.empty();
    }

    Context& context_;
    bool json_;
    bool aligned_;
    Json document_ = Json::array();
    std::vector<std::vector<std::string>> rows_;
};

std::string orDash(std::string const& text) { return text.empty() ? "-" : text; }

void describeValues(SettingsPtr const& key, KeyState const& state, Report& report) {
    KeyType const type = typeOf(state.description);
    for (std::string const& level : levelNames()) {
        bool const isStored = isStoredOn(key, level);
        bool const isComputed = !isStored && levelOf(state.description.runTimeDefault) == level;
        boost::any value;
        // A default that fails is told with the value in force.
        if (isStored || (isComputed && state.problem.empty())) value = valueOn(key, level);
        report.addValue(level,
                        isStored     ? level
                        : isComputed ? "runtime:" + level
                                     : "-",
                        value, type);
    }
    report.addValue("in force", state.level, state.value, type);
}

bool describeKeyNode(SettingsPtr const& key, Report& report) {
    KeyState const state = readKey(key);
    auto const& description = state.description;
    KeyType const type = typeOf(description);
    report.add("type", type.name());
    if (description.arraySize) {
        auto const [least, most] = *description.arraySize;
        report.add("elements", sizeText(least, most),
                   {{"least", least}, {"most", most == 0 ? Json() : Json(most)}});
    } else {
        report.add("elements", "-");
    }
    std::string const range = orDash(rangeText(description));
    auto const& rules = description.metaData;
    report.add("range", range,
               range == "-" ? Json()
                            : Json{{"least", jsonOf(rules.minimum, KeyType())},
                                   {"most", jsonOf(rules.maximum, KeyType())}});
    Json choices = Json::array();
    if (rules.choices) {
        for (boost::any const& choice : *rules.choices)
            choices.push_back(jsonOf(choice, KeyType()));
    }
    report.add("choices", orDash(join(choiceTexts(description), ", ")), choices);
    report.add("validator", orDash(functionText(description.validator)));
    std::string const computed = functionText(description.runTimeDefault);
    report.add("runtime default",
               computed.empty() ? "-" : computed + " on " + levelOf(description.runTimeDefault));
    describeValues(key, state, report);
    if (!state.problem.empty()) complain(state.name + ": " + state.problem);
    return state.problem.empty();
}

void describeGroup(Context& context, SettingsPtr const& group, Report& report) {
    report.add("validator", orDash(functionText(group->getValidator())));
    for (SettingsPtr const& child : context.loading([&] { return group->getChildren(); })) {
        report.addChild(child->isLeafNode() ? "key" : "group", child->getName());
    }
}

std::string shown(qf::ustring const& directory) { return orDash(pathText(directory)); }

/// Prints the names that begin with `prefix`, of a node's children and, where the prefix leads on,
/// of theirs.
void printNames(Context& context, SettingsPtr const& node, std::string const& prefix) {
    for (SettingsPtr const& child : context.loading([&] { return node->getChildren(); })) {
        std::string const name = child->getFullName() + (child->isLeafNode() ? "" : ".");
        if (name.back() == '.' && prefix.compare(0, name.size(), name) == 0) {
            printNames(context, child, prefix);
        } else if (name.compare(0, prefix.size(), prefix) == 0) {
            std::cout << asColumn(name) << '\n';
        }
    }
}

}  // namespace

int listCommand(Context& context, Arguments const& arguments) {
    Listing listing(context, arguments.json);
    bool const good = arguments.names.empty()
                          ? listing.addProducts()
                          : listing.addBelow(findNode(context, arguments.name()));
    listing.finish();
    return good && context.faults().empty() ? done : refused;
}

int getCommand(Context& context, Arguments const& arguments) {
    if (!arguments.level.empty()) requireLevel(arguments.level);
    SettingsPtr const key = findKey(context, arguments.name());
    boost::any const value = valueOn(key, arguments.level);
    if (arguments.json) {
        KeyType const type = typeOf(settings::core::describeKey(key));
        printJson(
            {{"name", key->getFullName()}, {"type", type.name()}, {"value", jsonOf(value, type)}});
    } else {
        for (std::string const& text : elementTexts(value))
            std::cout << text << '\n';
    }
    if (!context.faults().empty()) return refused;
    return value.empty() ? nothingThere : done;
}

int describeCommand(Context& context, Arguments const& arguments) {
    SettingsPtr const node = findNode(context, arguments.name());
    SettingsPtr product = node;
    while (!product->getParent()->isRoot())
        product = product->getParent();
    bool good = true;
    Report report(arguments.json);
    report.add("name", node->getFullName());
    report.add("kind", node->isLeafNode() ? "key" : node == product ? "product" : "group");
    if (node->isLeafNode()) {
        good = describeKeyNode(node, report);
    } else {
        // Before the flags, which come with the content of a product.
        context.loading([&] { return node->getChildren(); });
    }
    report.add("read-only", node->isReadOnly() ? "yes" : "no", node->isReadOnly());
    report.add("visible", node->isVisible() ? "yes" : "no", node->isVisible());
    boost::optional<unsigned int> const version = product->getVersionNumber();
    report.add("version", version ? std::to_string(*version) : "-",
               version ? Json(*version) : Json());
    if (!node->isLeafNode()) describeGroup(context, node, report);
    report.finish();
    return good && context.faults().empty() ? done : refused;
}

int dirsCommand(Context& context, Arguments const& arguments) {
    context.root();
    Report report(arguments.json);
    report.add("factory", shown(ZSettings::getFactoryDir(BlessedZcrID)));
    report.add("workgroup", shown(ZSettings::getWorkgroupDir(BlessedZcrID)));
    report.add("user", shown(context.userDirectory()));
    report.add("host", shown(settings::core::zenbarRootUStr()));
    report.finish();
    return done;
}

int completeCommand(Context& context, Arguments const& arguments) {
    // A shell asks in the midst of a line: what is wrong is told by the command that is typed
    // there.
    context.keepQuiet();
    auto const drop = [](std::string const&) {};
    qbhost::setConsole(drop, drop);
    try {
        printNames(context, context.root(), arguments.names.empty() ? "" : arguments.name());
    } catch (...) {  // NOLINT(bugprone-empty-catch)
    }
    return done;
}

}  // namespace qbsettings
