#include <optional>
#include <set>
#include <string>
#include <vector>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/output/Terminal.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/KeyState.hpp>
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
        options.name(name_, "Product, group or key; all products if absent");
        options.json();
    }

    int run(Context& context) override {
        context.output.beginTable();
        bool const good =
            name_ ? listBelow(context, findNode(context.tree, *name_)) : listProducts(context);
        return good && context.tree.faults().empty() ? done : refused;
    }

private:
    // All are false if something could not be read.

    static bool listProducts(Context& context) {
        auto const products = context.tree.products();
        Progress progress("reading product", products.size());
        bool good = true;
        for (SettingsPtr const& product : products) {
            progress.step();
            good = listBelow(context, product) && good;
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

    static bool listBelow(Context& context, SettingsPtr const& node) {
        if (node->isLeafNode()) return listKey(context.output, node);
        bool good = true;
        for (SettingsPtr const& child : context.tree.childrenOf(node))
            good = listBelow(context, child) && good;
        return good;
    }

    static bool listKey(Output& output, SettingsPtr const& key) {
        KeyState const state = readKey(key);
        KeyType const type = typeOf(state.description);
        output.row({{"name", state.name},
                    {"type", type.name()},
                    {"level", Cell::level(state.level)},
                    {"value", Cell::value(state.value, type)}});
        if (!state.problem.empty()) complain(state.name + ": " + state.problem);
        return state.problem.empty();
    }

    std::optional<std::string> name_;
};

Registration<ListCommand> const listRegistration({1, "list",
                                                  "List the keys below a name, one per line",
                                                  "list plotter.margins"});

}  // namespace

}  // namespace qbsettings
