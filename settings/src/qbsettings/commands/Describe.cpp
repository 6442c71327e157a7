#include <string>

#include <boost/optional.hpp>
#include <nlohmann/json.hpp>
#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/generate/ReferencePage.hpp>
#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/output/TextsCell.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/store/Levels.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/store/TemporaryFolder.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Rules.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

using settings::core::KeyDescription;

std::string orDash(std::string const& text) { return text.empty() ? "-" : text; }

Cell function(std::string const& text) { return Cell::orNothing(orDash(text)); }

Cell arraySize(KeyDescription const& description) {
    if (!description.arraySize) return Cell::orNothing("-");
    auto const [least, most] = *description.arraySize;
    return {sizeText(least, most), {{"least", least}, {"most", most == 0 ? Json() : Json(most)}}};
}

Cell range(KeyDescription const& description) {
    std::string const text = rangeText(description);
    if (text.empty()) return Cell::orNothing("-");
    auto const& rules = description.metaData;
    return {
        text,
        {{"least", jsonOf(rules.minimum, KeyType())}, {"most", jsonOf(rules.maximum, KeyType())}}};
}

Cell choices(KeyDescription const& description) {
    Json values = Json::array();
    if (description.metaData.choices) {
        for (boost::any const& choice : *description.metaData.choices)
            values.push_back(jsonOf(choice, KeyType()));
    }
    return {orDash(join(choiceTexts(description), ", ")), values};
}

/// `describe`: the rules of a key and its values, or what a group holds.
class DescribeCommand : public Command {
public:
    void declare(Options& options) override {
        options.names(names_, Options::Is::required, "Key, group or product");
        options.flag("--all", all_, "Of products: a page in Markdown of all their keys");
        options.json();
    }

    int run(Context& context) override {
        if (all_) return writePages(context);
        std::vector<SettingsPtr> nodes;
        for (std::string const& name : names_)
            nodes.push_back(findNode(context.tree, name));
        if (nodes.size() > 1) context.output.beginRecords();
        bool good = true;
        for (SettingsPtr const& node : nodes)
            good = describeNode(context, node) && good;
        return good && context.tree.faults().empty() ? done : refused;
    }

private:
    int writePages(Context& context) const {
        // What the user has set or added is no part of the definition.
        TemporaryFolder const nobody;
        context.directories.saveIn(nobody.path());
        std::vector<SettingsPtr> products;
        for (std::string const& name : names_) {
            products.push_back(findGroup(context.tree, name));
            if (!products.back()->getParent()->isRoot())
                throw Failure(wrongUsage, inQuotes(name) + " is a group; name its product");
        }
        context.output.beginList();
        ReferencePage page(context.tree, context.texts, context.output);
        for (SettingsPtr const& product : products)
            page.write(product);
        return context.tree.faults().empty() ? done : refused;
    }

    /// False if a value could not be had.
    static bool describeNode(Context& context, SettingsPtr const& node) {
        Output& output = context.output;
        SettingsPtr product = node;
        while (!product->getParent()->isRoot())
            product = product->getParent();
        bool good = true;
        output.beginRecord();
        output.field("name", node->getFullName());
        output.field("kind", node->isLeafNode() ? "key" : node == product ? "product" : "group");
        describeTexts(output, context.texts.of(node));
        // Before the flags, which come with the content of a product.
        auto const children = context.tree.childrenOf(node);
        if (node->isLeafNode()) good = describeKeyNode(output, node);
        output.field("read-only", Cell::truth(node->isReadOnly()));
        output.field("visible", Cell::truth(node->isVisible()));
        boost::optional<unsigned int> const version = product->getVersionNumber();
        output.field("version", version ? Cell::number(*version) : Cell::orNothing("-"));
        if (!node->isLeafNode()) {
            output.field("validator", function(functionText(node->getValidator())));
            output.list("children");
            for (SettingsPtr const& child : children) {
                output.row("children", {{"kind", child->isLeafNode() ? "key" : "group"},
                                        {"name", child->getName()}});
            }
        }
        return good;
    }

    /// A row for each line that there is; in JSON one field, which is never missing.
    static void describeTexts(Output& output, texts::Texts const& told) {
        auto const line = [&](std::string const& name, std::string const& text) {
            output.show(name, {{"", text}});
        };
        if (!told.summary.empty()) line("summary", told.summary);
        for (std::string const& text : texts::linesOf(told.description))
            line("description", text);
        if (!told.unit.empty()) line("unit", told.unit);
        for (auto const& [choice, label] : told.labels)
            output.show("label", {{"", choice}, {"", label}});
        if (!told.since.empty()) line("since", told.since);
        if (!told.deprecated.empty()) line("deprecated", told.deprecated);
        output.note("texts", cellOf(told));
    }

    /// False if its value could not be had.
    static bool describeKeyNode(Output& output, SettingsPtr const& key) {
        KeyState const state = readKey(key);
        KeyDescription const& description = state.description;
        output.field("type", Cell::orNothing(typeOf(description).name()));
        output.field("elements", arraySize(description));
        output.field("range", range(description));
        output.field("choices", choices(description));
        output.field("validator", function(functionText(description.validator)));
        std::string const computed = functionText(description.runTimeDefault);
        output.field(
            "runtime default",
            function(computed.empty() ? ""
                                      : computed + " on " + levelOf(description.runTimeDefault)));
        describeValues(output, key, state);
        if (!state.problem.empty()) complain(state.name + ": " + state.problem);
        return state.problem.empty();
    }

    static void describeValues(Output& output, SettingsPtr const& key, KeyState const& state) {
        KeyType const type = typeOf(state.description);
        auto const add = [&](std::string const& field, std::string const& source,
                             boost::any const& value) {
            output.field(field,
                         {{"source", Cell::level(source)}, {"value", Cell::value(value, type)}});
        };
        for (std::string const& level : levelNames()) {
            bool const isStored = isStoredOn(key, level);
            bool const isComputed = !isStored && levelOf(state.description.runTimeDefault) == level;
            boost::any value;
            // A default that fails is reported with the value in force.
            if (isStored || (isComputed && state.problem.empty())) value = valueOn(key, level);
            add(level, isStored ? level : isComputed ? "runtime:" + level : "-", value);
        }
        add("in force", state.level, state.value);
    }

    std::vector<std::string> names_;
    bool all_ = false;
};

Registration<DescribeCommand> const describeRegistration(
    {3, "describe", "Show the rules of a key and its values on every level, or what a group holds",
     "describe plotter.lineWidth"});

}  // namespace

}  // namespace qbsettings
