#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/prefdir/PreferencesDirectory.hpp>

namespace qbsettings {

namespace {

Cell directory(qf::ustring const& path) {
    return Cell::orNothing(path.empty() ? "-" : pathText(path));
}

/// `dirs`: where the files are.
class DirsCommand : public Command {
public:
    void declare(Options& options) override { options.json(); }

    int run(Context& context) override {
        context.tree.root();
        context.output.beginRecord();
        context.output.field("factory", directory(context.directories.factory()));
        context.output.field("workgroup", directory(context.directories.workgroup()));
        context.output.field("user", directory(context.directories.user()));
        context.output.field("host", directory(settings::core::zenbarRootUStr()));
        return done;
    }
};

Registration<DirsCommand> const dirsRegistration({5, "dirs", "Print the directories in use",
                                                  "dirs"});

}  // namespace

}  // namespace qbsettings
