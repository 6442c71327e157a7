#include <optional>
#include <string>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/output/OutputFile.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/SettingsFiles.hpp>
#include <qbsettings/text/Failure.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

/// `make-factory`: a factory file made of a settings file.
class MakeFactoryCommand : public Command {
public:
    void declare(Options& options) override {
        options.file(file_, Options::Is::required, "Settings file");
        options.target(to_, force_);
        options.number("--version", version_,
                       "Version of the definition; that of the file, or 1, if absent");
        options.json();
    }

    int run(Context& context) override {
        SettingsPtr const tree = readSettingsFile(file_);
        unsigned const version = version_ ? *version_ : tree->getVersionNumber().value_or(1);
        OutputFile file(to_, force_);
        settings::core::Settings::createFactorySettingsFile(tree, file.path(), version);
        commitReadable(file);
        context.output.beginRecord();
        context.output.note("written", to_);
        return done;
    }

private:
    std::string file_;
    std::string to_;
    bool force_ = false;
    std::optional<unsigned> version_;
};

Registration<MakeFactoryCommand> const makeFactoryRegistration(
    {42, "make-factory", "Make a factory file from a settings file",
     "make-factory mine.settings --to plotter.settings --version 2"});

}  // namespace

}  // namespace qbsettings
