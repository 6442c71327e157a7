#include <string>
#include <vector>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/store/NewValue.hpp>
#include <qbsettings/store/ValueEdit.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

/// `set`: a value for one key.
class SetCommand : public Command {
public:
    void declare(Options& options) override {
        options.name(name_, "Key");
        options.values(values_, Options::Is::optional, "Value");
        options.flag("--empty", edit_.empty, "Set an array without elements");
        options.flag("--append", edit_.append, "Put the values behind those of the array");
        options.flag("--remove", edit_.remove, "Take the values out of the array");
        options.number("--insert", edit_.insert,
                       "Put the values before the element of that number, from 0");
        options.flag("--toggle", edit_.toggle, "Make true false, and false true");
        options.flag("--add", edit_.add, "Add the value to the number");
        options.flag("--json", edit_.json, "The value is JSON");
        options.level(level_,
                      "Level to write: user (default), or session, which ends with this process");
        options.text("--type", type_, Options::Is::optional, "TYPE",
                     "Type of the value, for a key that takes any: int32, string, ...");
        options.replaceBroken();
    }

    int run(Context& context) override {
        std::string const level = levelForWriting(level_);
        SettingsPtr const key = findKey(context.tree, name_);
        std::string const product = productOf(key);
        if (level == "user") context.writing.begin(product);
        std::vector<std::string> const texts = editedTexts(edit_, key, values_);
        boost::any const value = valueForKey(context.directories, key, texts, type_, level);
        try {
            key->getParent()->setAny(key->getName(), value, level);
        } catch (std::exception const& error) {
            throw Failure(refusal(context.directories, key, error, texts).what() +
                          context.writing.afterword(product));
        }
        confirmStored(key, value, level);
        // An edit shows what it led to, and a word what it was taken for.
        std::vector<std::string> const stored = elementTexts(value);
        if (!edit_.json && stored != values_) {
            for (std::string const& text : stored)
                context.output.line(text);
        }
        return done;
    }

private:
    std::string name_;
    std::vector<std::string> values_;
    ValueEdit edit_;
    std::string level_;
    std::string type_;
};

Registration<SetCommand> const setRegistration(
    {20, "set", "Set a key; several values make an array",
     "set plotter.lineWidth 0.5\n"
     "Put '--' before a value that begins with '-' and is not a number."});

}  // namespace

}  // namespace qbsettings
