#include <string>
#include <vector>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/output/OutputFile.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/Levels.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/store/SettingsFiles.hpp>
#include <qbsettings/text/Failure.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

using settings::core::Settings;

/// `export`: settings of one product in a file of the user's choice.
class ExportCommand : public Command {
public:
    void declare(Options& options) override {
        options.names(names_, Options::Is::required, "What to write");
        options.target(to_, force_);
        options.level(level_, "Values of this level; the values in force if absent");
        options.json();
    }

    int run(Context& context) override {
        if (!level_.empty()) requireLevel(level_);
        std::vector<boost::shared_ptr<Settings const>> nodes;
        for (std::string const& name : names_)
            nodes.push_back(findNode(context.tree, name));
        OutputFile file(to_, force_);
        context.tree.loading([&] { Settings::exportSettings(nodes, file.path(), level_); });
        if (!context.tree.faults().empty()) {
            throw Failure(
                "nothing was exported, because the settings could not be read completely");
        }
        commitReadable(file);
        context.output.beginRecord();
        context.output.note("written", to_);
        return done;
    }

private:
    std::vector<std::string> names_;
    std::string to_;
    bool force_ = false;
    std::string level_;
};

Registration<ExportCommand> const exportRegistration(
    {40, "export", "Write settings of one product to a file",
     "export plotter.margins --to margins.settings"});

}  // namespace

}  // namespace qbsettings
