#include <string>

#include <qbhost/QbHost.hpp>
#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

/// `complete`: names, for the completion of shells.
class CompleteCommand : public Command {
public:
    // Nothing begins with what is not UTF-8.
    void declare(Options& options) override { options.nameBegin(begin_, "Beginning of a name"); }

    int run(Context& context) override {
        // A shell asks in the middle of a line: what is wrong is reported by the command that is
        // typed there.
        context.tree.keepQuiet();
        auto const drop = [](std::string const&) {};
        qbhost::setConsole(drop, drop);
        try {
            printBelow(context, context.tree.root());
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

    std::string begin_;
};

Registration<CompleteCommand> const completeRegistration({6, "complete",
                                                          "Print the names that begin so",
                                                          "complete plotter.p", true});

}  // namespace

}  // namespace qbsettings
