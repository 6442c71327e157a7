#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/output/Terminal.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/ImportPlan.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/store/NewValue.hpp>
#include <qbsettings/store/SavedFile.hpp>
#include <qbsettings/store/SettingsFiles.hpp>
#include <qbsettings/store/TemporaryFolder.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/persistence/SharedSaving.hpp>
#include <settingscore/tree/SettingsSaving.hpp>
#include <settingscore/tree/ZSettings.hpp>

namespace qbsettings {

namespace {

using settings::core::ZSettings;

/// Why a user file cannot be replaced; empty if nothing is known against it.
std::string whyUnwritable(qf::ustring const& file) {
    qf::filesystem::path const path(file);
    for (auto const& place : {path, path.parent_path()}) {
        if (::access(place.native().c_str(), W_OK) != 0 && errno != ENOENT) {
            return std::strerror(errno);
        }
    }
    return {};
}

/// `import`: settings of a file taken into the tree.
class ImportCommand : public Command {
public:
    void declare(Options& options) override {
        options.file(file_, Options::Is::required, "Settings file");
        options.text("--into", into_, Options::Is::optional, "NAME",
                     "Group to import into; the product that the file names if absent");
        options.level(level_, "Level to write: user (default) or session");
        options.flag("--dry-run", dryRun_, "Show what would change, and change nothing");
        options.flag("--replace", replace_, "Replace values that are already set");
        options.json();
        options.replaceBroken();
    }

    int run(Context& context) override {
        Progress progress("importing, step", 3);
        level_ = levelForWriting(level_);
        progress.step();
        source_ = readSettingsFile(file_);
        findTarget(context);
        if (!target_) context.writing.beginNew(product());
        progress.step();
        plan_ = planImport(context.directories, source_, target_, level_, replace_);
        Output& output = context.output;
        output.beginRecord();
        output.list("changes");
        output.list("refused");
        for (std::string const& text : plan_.refusals) {
            complain(text);
            output.noteMember("refused", text);
        }
        if (!plan_.refusals.empty()) {
            complain("nothing was imported");
            return refused;
        }
        progress.step();
        dryRun_ ? rehearse(context) : import(context);
        for (ImportPlan::Change const& change : plan_.changes) {
            output.row("changes", {{"change", change.change},
                                   {"name", change.name},
                                   {"value", Cell::value(change.value, change.type)}});
        }
        return done;
    }

private:
    /// The node that takes the content of the file, empty if that is a product that is not there.
    void findTarget(Context& context) {
        if (!into_.empty()) {
            target_ = findGroup(context.tree, into_);
        } else {
            target_ = context.tree.root()->getChild(source_->getName());
            if (target_) context.tree.childrenOf(target_);
        }
        if (target_) {
            if (level_ == "user") context.writing.begin(productOf(target_));
        } else if (level_ != "user") {
            throw Failure(nothingThere, "there is no product " + inQuotes(source_->getName()) +
                                            " that could take the values; one is made on the level "
                                            "'user' alone");
        }
    }

    std::string product() const { return target_ ? productOf(target_) : source_->getName(); }

    /// In memory, and in the folder where the user's files are saved.
    void carryOut(Context& context) const {
        for (SettingsPtr const& key : plan_.dropped) {
            boost::dynamic_pointer_cast<ZSettings>(key->getParent())->removeKey(key->getName());
        }
        bool const isInOneSave = target_ && !plan_.replaced.empty();
        if (isInOneSave) {
            // The batch saves what the merge brings as well: all of it is in the file, or nothing.
            settings::core::turnOffSettingsSaving();
            target_->mergeDescendants(source_, level_);
            settings::core::turnOnSettingsSaving();
        } else if (target_) {
            target_->mergeDescendants(source_, level_);
        } else {
            ZSettings::validateSettingOrGroupName(source_->getName());
            boost::dynamic_pointer_cast<ZSettings>(source_)->setParent(context.tree.root());
        }
        if (plan_.replaced.empty()) return;
        std::vector<std::string> texts;
        for (auto const& [name, message] :
             context.tree.root()->setMultiple(plan_.replaced, level_)) {
            texts.push_back(name + ": " + message);
        }
        if (!texts.empty()) throw Failure(join(texts, "; "));
    }

    void import(Context& context) const {
        try {
            carryOut(context);
        } catch (std::exception const& error) {
            std::string const reason = messageOf(error);
            auto const changed = context.writing.changed(product());
            if (level_ != "user" || changed == Writing::Changed::no) {
                throw Failure("nothing was imported: " + reason);
            }
            if (changed == Writing::Changed::unknown) {
                throw Failure(reason + context.writing.afterword(product()));
            }
            reportSaved(context, reason);
        }
    }

    /// Says what is in the file after a failure: all of it, or what another process made of it
    /// meanwhile. @throws Failure always
    [[noreturn]] void reportSaved(Context& context, std::string const& reason) const {
        SavedFile const file(context.directories.userFile(product()));
        std::vector<std::string> saved;
        std::vector<std::string> missing;
        for (ImportPlan::Change const& change : plan_.changes) {
            if (change.change == "kept" || change.change == "same") continue;
            (file.holds(change.name, change.value) ? saved : missing).push_back(change.name);
        }
        if (missing.empty()) throw Failure(reason + context.writing.afterword(product()));
        complain(reason);
        throw Failure(savedText("imported", saved, missing));
    }

    /// Carries it out in memory and in a folder that goes with it, so that all is refused that the
    /// import itself would refuse, and nothing is changed.
    void rehearse(Context& context) const {
        qf::ustring const file = context.directories.userFile(product());
        std::string const reason = level_ == "user" ? whyUnwritable(file) : "";
        if (!reason.empty()) {
            throw Failure("nothing was imported: " + pathText(file) +
                          " cannot be written: " + reason);
        }
        TemporaryFolder const folder;
        std::string const realPlace = pathText(context.directories.user());
        context.tree.root();
        // The folder lacks what the user directory has, and nobody else is to be heard of there.
        settings::core::turnOffSharedSaving();
        context.directories.saveIn(folder.path());
        try {
            carryOut(context);
        } catch (std::exception const& error) {
            std::string message = messageOf(error);
            std::string const place = pathText(folder.path());
            std::size_t const at = message.find(place);
            if (at != std::string::npos) message.replace(at, place.size(), realPlace);
            throw Failure("nothing was imported: " + message);
        }
    }

    std::string file_;
    std::string into_;
    std::string level_;
    bool dryRun_ = false;
    bool replace_ = false;
    SettingsPtr source_;
    SettingsPtr target_;
    ImportPlan plan_;
};

Registration<ImportCommand> const importRegistration(
    {41, "import", "Import what a file has and the tree does not have",
     "import margins.settings --dry-run"});

}  // namespace

}  // namespace qbsettings
