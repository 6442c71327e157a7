#include <string>
#include <vector>

#include <qbsettings/check/Checker.hpp>
#include <qbsettings/check/Findings.hpp>
#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/text/Failure.hpp>
#include <settingscore/host/Filesystem.hpp>

namespace qbsettings {

namespace {

/// `check`: faults of settings files with their places, and what the files say without effect.
class CheckCommand : public Command {
public:
    void declare(Options& options) override {
        options.files(files_, "Files to check; those of all products if absent");
        options.flag("--clean", clean_,
                     "Remove the temporary folders that killed processes left, without FILE");
        options.json();
        options.flag("--sarif", form_.sarif, "Print a document of SARIF 2.1.0");
        options.flag("--strict", form_.strict, "Count warnings and keys without a text as faults");
    }

    int run(Context& context) override {
        namespace fs = qf::filesystem;
        if (clean_ && !files_.empty()) {
            throw Failure(wrongUsage, "--clean is for the user directory, so without files");
        }
        Findings findings(context.output, form_);
        Checker checker(context, findings);
        if (form_.strict) checker.wantTexts();
        context.tree.keepQuiet();
        if (files_.empty()) checker.checkAll(clean_);
        for (std::string const& file : files_)
            checker.checkNamed(fs::absolute(fs::from_native(file), fs::path()).str());
        findings.finish();
        return findings.areGood() ? done : refused;
    }

private:
    std::vector<std::string> files_;
    bool clean_ = false;
    FindingsForm form_;
};

Registration<CheckCommand> const checkRegistration(
    {4, "check",
     "Report every fault of the settings files with file, line and column, and warn of what has no "
     "effect",
     "check plotter.settings"});

}  // namespace

}  // namespace qbsettings
