#include <string>
#include <vector>

#include <qbhost/QbHost.hpp>
#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Rules.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/tree/KeyDescription.hpp>
#include <settingscore/tree/Settings.hpp>
#include <settingscore/value/ValueTraits.hpp>

namespace qbsettings {

namespace {

/// `complete`: names, and values of a key, for the completion of shells.
class CompleteCommand : public Command {
public:
    // Nothing begins with what is not UTF-8.
    void declare(Options& options) override {
        options.nameBegin(begin_, "Beginning of a name, or of a value");
        options.text("--values-of", key_, Options::Is::optional, "NAME",
                     "The values that the key is known to take");
    }

    int run(Context& context) override {
        // A shell asks in the middle of a line: what is wrong is reported by the command that is
        // typed there.
        context.tree.keepQuiet();
        auto const drop = [](std::string const&) {};
        qbhost::setConsole(drop, drop);
        try {
            if (key_.empty()) {
                printBelow(context, context.tree.root());
            } else {
                printValues(context);
            }
        } catch (...) {  // NOLINT(bugprone-empty-catch)
        }
        return done;
    }

private:
    /// Prints the names of a node's children and, where the beginning leads on, of theirs.
    void printBelow(Context& context, SettingsPtr const& node) const {
        for (SettingsPtr const& child : context.tree.childrenOf(node)) {
            std::string const name = child->getFullName() + (child->isLeafNode() ? "" : ".");
            if (name.back() == '.' && begin_.compare(0, name.size(), name) == 0) {
                printBelow(context, child);
            } else if (name.compare(0, begin_.size(), begin_) == 0) {
                context.output.line(asColumn(name));
            }
        }
    }

    /// Prints the choices of the key, and those of every bool.
    void printValues(Context& context) const {
        using settingscore::boostany::ValueTraits;
        auto const description = settings::core::describeKey(findKey(context.tree, key_));
        std::vector<std::string> values = choiceTexts(description);
        if (values.empty() && typeOf(description).element == ValueTraits<bool>::index) {
            values = {"true", "false"};
        }
        for (std::string const& value : values) {
            // One that no line can show is left to those who know it.
            if (value.compare(0, begin_.size(), begin_) == 0 && asColumn(value) == value) {
                context.output.line(value);
            }
        }
    }

    std::string begin_;
    std::string key_;
};

Registration<CompleteCommand> const completeRegistration({6, "complete",
                                                          "Print the names that begin so",
                                                          "complete plotter.p", true});

}  // namespace

}  // namespace qbsettings
