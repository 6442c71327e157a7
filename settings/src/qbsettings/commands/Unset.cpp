#include <unistd.h>

#include <iostream>
#include <string>
#include <vector>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/output/Terminal.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/store/NewValue.hpp>
#include <qbsettings/store/SavedFile.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

/// `unset`: values removed from a level, of all the keys that are named or of none.
class UnsetCommand : public Command {
public:
    void declare(Options& options) override {
        options.names(names_, Options::Is::required, "Key; with --all, group or product");
        options.flag("--all", all_, "All values below the names, shown first on a terminal");
        options.flag("--yes", yes_, "Do not ask");
        options.level(level_, "Level to change: user (default) or session");
        options.json();
        options.replaceBroken();
    }

    int run(Context& context) override {
        level_ = levelForWriting(level_);
        std::vector<SettingsPtr> nodes;
        for (std::string const& name : names_)
            nodes.push_back(all_ ? findNode(context.tree, name) : findSingleKey(context, name));
        for (SettingsPtr const& node : nodes) {
            context.tree.childrenOf(node);
            if (level_ == "user") context.writing.begin(productOf(node));
            gather(context, node);
        }
        if (keys_.empty()) {
            throw Failure(nothingThere, "there is no value on the level " + inQuotes(level_) +
                                            " below " + join(names_, ", "));
        }
        if (all_ && !yes_) ask();
        removeAll(context);
        context.output.beginRecord();
        context.output.list("removed");
        for (SettingsPtr const& key : keys_)
            context.output.noteMember("removed", key->getFullName());
        return done;
    }

private:
    static SettingsPtr findSingleKey(Context& context, std::string const& name) {
        SettingsPtr const node = findNode(context.tree, name);
        if (node->isLeafNode()) return node;
        throw Failure(inQuotes(node->getFullName()) +
                      " is a group, not a key; --all removes all values in it");
    }

    /// The keys with a value, which can be removed. @throws Failure
    void gather(Context& context, SettingsPtr const& node) {
        if (!node->isLeafNode()) {
            for (SettingsPtr const& child : context.tree.childrenOf(node))
                gather(context, child);
            return;
        }
        if (!isStoredOn(node, level_)) {
            if (all_) return;
            throw Failure(nothingThere, node->getFullName() + ": it has no value on the level " +
                                            inQuotes(level_));
        }
        SettingsPtr const group = node->getParent();
        if (group->isReadOnly()) {
            throw Failure(node->getFullName() + ": the group " + inQuotes(group->getFullName()) +
                          " is read-only: nothing in it can be added, removed or unset");
        }
        for (SettingsPtr const& key : keys_) {
            if (key == node) return;
        }
        keys_.push_back(node);
    }

    void ask() const {
        if (::isatty(STDIN_FILENO) != 1 || !isErrorTerminal()) return;
        std::string shown;
        for (SettingsPtr const& key : keys_) {
            shown += asLine(key->getFullName() + " = " +
                            join(elementTexts(valueOn(key, level_)), ", ")) +
                     "\n";
        }
        std::cerr << shown + "Remove " + std::to_string(keys_.size()) +
                         (keys_.size() == 1 ? " value" : " values") + "? [y/N] "
                  << std::flush;
        std::string answer;
        std::getline(std::cin, answer);
        if (answer != "y" && answer != "Y" && answer != "yes") throw Failure("nothing was removed");
    }

    void removeAll(Context& context) const {
        std::vector<std::string> gone;
        for (SettingsPtr const& key : keys_) {
            try {
                key->getParent()->unset(key->getName(), level_);
            } catch (std::exception const& error) {
                std::string text = key->getFullName() + ": " + reasonOf(error) +
                                   context.writing.afterword(productOf(key));
                if (!gone.empty()) text += "; " + savedText("removed", gone, {});
                throw Failure(text);
            }
            gone.push_back(key->getFullName());
        }
    }

    std::vector<std::string> names_;
    bool all_ = false;
    bool yes_ = false;
    std::string level_;
    std::vector<SettingsPtr> keys_;
};

Registration<UnsetCommand> const unsetRegistration({21, "unset",
                                                    "Remove values of keys from a level",
                                                    "unset plotter.lineWidth"});

}  // namespace

}  // namespace qbsettings
