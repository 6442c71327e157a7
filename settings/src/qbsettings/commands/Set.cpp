#include <string>
#include <vector>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/store/NewValue.hpp>
#include <qbsettings/text/Failure.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

/// `set`: a value for one key.
class SetCommand : public Command {
public:
    void declare(Options& options) override {
        options.name(name_, "Key");
        options.values(values_, Options::Is::optional, "Value");
        options.flag("--empty", empty_, "Set an array without elements");
        options.level(level_,
                      "Level to write: user (default), or session, which ends with this process");
        options.text("--type", type_, Options::Is::optional, "TYPE",
                     "Type of the value, for a key that takes any: int32, string, ...");
        options.replaceBroken();
    }

    int run(Context& context) override {
        if (values_.empty() != empty_) {
            throw Failure(wrongUsage, std::string(empty_ ? "--empty and a VALUE exclude each other"
                                                         : "a VALUE is missing, or --empty for an "
                                                           "array without elements") +
                                          "; see 'qbsettings set --help'");
        }
        std::string const level = levelForWriting(context.writing, level_);
        SettingsPtr const key = findKey(context.tree, name_);
        std::string const product = productOf(key);
        if (level == "user") context.writing.begin(product);
        boost::any const value = valueForKey(context.directories, key, values_, type_, level);
        try {
            key->getParent()->setAny(key->getName(), value, level);
        } catch (std::exception const& error) {
            throw Failure(refusal(context.directories, key, error, values_).what() +
                          context.writing.afterword(product));
        }
        confirmStored(key, value, level);
        return done;
    }

private:
    std::string name_;
    std::vector<std::string> values_;
    bool empty_ = false;
    std::string level_;
    std::string type_;
};

Registration<SetCommand> const setRegistration(
    {20, "set", "Set a key; several values make an array",
     "set plotter.lineWidth 0.5\n"
     "Put '--' before a value that begins with '-' and is not a number."});

}  // namespace

}  // namespace qbsettings
