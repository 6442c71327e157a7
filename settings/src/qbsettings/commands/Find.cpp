#include <string>
#include <vector>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/output/Terminal.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/KeyRows.hpp>
#include <qbsettings/text/Failure.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

/// `find`: the keys that a person has in mind.
class FindCommand : public Command {
public:
    void declare(Options& options) override {
        options.words(
            words_,
            "Parts of the name, the value, the choices or the texts, in any order and case");
        options.json();
    }

    int run(Context& context) override {
        KeyRows::What what;
        what.words = words_;
        KeyRows rows(context.output, context.texts, what);
        context.output.beginTable();
        auto const products = context.tree.products();
        Progress progress("reading product", products.size());
        bool good = true;
        for (SettingsPtr const& product : products) {
            progress.step();
            good = addBelow(context, rows, product) && good;
        }
        if (!good || !context.tree.faults().empty()) return refused;
        if (rows.count() != 0) return done;
        complain("nothing was found");
        return nothingThere;
    }

private:
    /// False if something could not be read.
    static bool addBelow(Context& context, KeyRows& rows, SettingsPtr const& node) {
        if (node->isLeafNode()) return rows.add(node);
        bool good = true;
        for (SettingsPtr const& child : context.tree.childrenOf(node))
            good = addBelow(context, rows, child) && good;
        return good;
    }

    std::vector<std::string> words_;
};

Registration<FindCommand> const findRegistration(
    {3, "find", "Find keys by words in names, values, choices and texts", "find plotter width"});

}  // namespace

}  // namespace qbsettings
