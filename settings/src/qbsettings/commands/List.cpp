#include <algorithm>
#include <limits>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/output/Terminal.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/KeyRows.hpp>
#include <qbsettings/store/Levels.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/prefdir/PreferencesDirectory.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

/// `list`: rows of keys.
class ListCommand : public Command {
public:
    void declare(Options& options) override {
        options.names(names_, Options::Is::optional,
                      "Product, group or key; all products if absent");
        options.flag("--changed", what_.changedOnly,
                     "Only keys whose value is not the factory's, with that behind");
        options.level(what_.level, "Only this level: session, user or factory");
        options.flag("--long", what_.isLong, "Also what a key takes, its unit and what it is");
        options.number("--depth", depth_, "So many names deep; groups deeper are a row each");
        options.json();
    }

    int run(Context& context) override {
        if (!what_.level.empty()) requireLevel(what_.level);
        std::vector<SettingsPtr> nodes;
        for (std::string const& name : names_)
            nodes.push_back(findNode(context.tree, name));
        context.output.beginTable();
        KeyRows rows(context.output, context.texts, what_);
        bool good = true;
        if (nodes.empty()) good = listProducts(context, rows);
        for (SettingsPtr const& node : nodes)
            good = listBelow(context, rows, node, depth()) && good;
        return good && context.tree.faults().empty() ? done : refused;
    }

private:
    // All are false if something could not be read.

    unsigned depth() const {
        return std::max(1U, depth_.value_or(std::numeric_limits<unsigned>::max()));
    }

    bool listProducts(Context& context, KeyRows& rows) const {
        auto const products = context.tree.products();
        Progress progress("reading product", products.size());
        bool good = true;
        for (SettingsPtr const& product : products) {
            progress.step();
            good = listBelow(context, rows, product, depth() - 1) && good;
        }
        if (products.empty() && context.tree.faults().empty()) tellWhereToLook(context.directories);
        tellHidden(context.directories, products);
        return good;
    }

    static void tellWhereToLook(Directories const& directories) {
        namespace fs = qf::filesystem;
        fs::path const examples = fs::path(settings::core::zenbarRootUStr()) / u"examples";
        std::string hint = "'qbsettings new-product' makes one";
        if (fs::exists(examples / u"toolbox")) {
            hint += ", and there are examples: qbsettings --host-root " + pathText(examples.str()) +
                    " list";
        }
        complain("there are no products in " + pathText(directories.factory()) + " and in " +
                 pathText(directories.user()) + "; " + hint);
    }

    static void tellHidden(Directories const& directories,
                           std::vector<SettingsPtr> const& products) {
        std::set<std::string> names;
        for (SettingsPtr const& product : products)
            names.insert(product->getName());
        for (qf::ustring const& folder : directories.factoryFolders()) {
            std::string const hiding = directories.hidingProduct(folder, names);
            if (hiding.empty()) continue;
            complain(pathText(folder) + " is not read, because there is a product " +
                     inQuotes(hiding) + ", and product names may not differ only in case");
        }
    }

    static bool listBelow(Context& context, KeyRows& rows, SettingsPtr const& node,
                          unsigned depth) {
        if (node->isLeafNode()) return rows.add(node);
        if (depth == 0) {
            rows.addGroup(node);
            return true;
        }
        bool good = true;
        for (SettingsPtr const& child : context.tree.childrenOf(node))
            good = listBelow(context, rows, child, depth - 1) && good;
        return good;
    }

    std::vector<std::string> names_;
    std::optional<unsigned> depth_;
    KeyRows::What what_;
};

Registration<ListCommand> const listRegistration({1, "list",
                                                  "List the keys below a name, one per line",
                                                  "list plotter.margins"});

}  // namespace

}  // namespace qbsettings
