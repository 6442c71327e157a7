#include <string>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/store/NewValue.hpp>
#include <qbsettings/text/Failure.hpp>
#include <settingscore/errors/TreeExceptions.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

/// `unset`: a key's value removed from a level.
class UnsetCommand : public Command {
public:
    void declare(Options& options) override {
        options.name(name_, "Key");
        options.level(level_, "Level to change: user (default) or session");
        options.replaceBroken();
    }

    int run(Context& context) override {
        std::string const level = levelForWriting(context.writing, level_);
        SettingsPtr const key = findKey(context.tree, name_);
        std::string const product = productOf(key);
        if (level == "user") context.writing.begin(product);
        try {
            key->getParent()->unset(key->getName(), level);
        } catch (settings::core::exception::ValueNotDefinedForGivenLevel const& error) {
            throw Failure(nothingThere, key->getFullName() + ": " + reasonOf(error));
        } catch (std::exception const& error) {
            throw Failure(key->getFullName() + ": " + reasonOf(error) +
                          context.writing.afterword(product));
        }
        return done;
    }

private:
    std::string name_;
    std::string level_;
};

Registration<UnsetCommand> const unsetRegistration({21, "unset",
                                                    "Remove a key's value from a level",
                                                    "unset plotter.lineWidth"});

}  // namespace

}  // namespace qbsettings
