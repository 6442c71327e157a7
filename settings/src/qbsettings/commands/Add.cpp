#include <string>
#include <vector>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/NewNode.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Rules.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/tree/ZSettings.hpp>

namespace qbsettings {

namespace {

using settings::core::Validator;
using settings::core::ZSettings;

/// A standalone key that knows its type, with a value on the level "user" if there are texts; of a
/// key that takes any type they are strings.
SettingsPtr makeKey(std::string const& name, std::string const& typeName,
                    std::vector<std::string> const& texts) {
    settings::core::SettingsProperties properties;
    KeyType type = typeNamed(typeName, TakesAny::yes);
    properties.anyType = type.any;
    if (type.any) type = typeNamed("string");
    if (texts.size() > 1) type.array = true;
    if (properties.anyType && type.array) {
        throw Failure(countText(texts.size()) + ", a key of type any takes " + sizeText(1, 1));
    }
    SettingsPtr const key = ZSettings::createSetting(name, true, properties);
    SettingsPtr const group =
        ZSettings::createSettingsNode("group", false, true, Validator(), false);
    boost::dynamic_pointer_cast<ZSettings>(key)->setParent(group);
    // The first value that a key is shown fixes its type, and an array without elements fixes no
    // bound on their number.
    group->validateAny(name, blankValue(type));
    if (!texts.empty()) group->setAny(name, makeValue(type, texts), "user");
    boost::dynamic_pointer_cast<ZSettings>(group)->removeKey(name);
    return key;
}

/// `add`: a key of the user's own.
class AddCommand : public Command {
public:
    void declare(Options& options) override {
        options.name(name_, "Full name of the key");
        options.values(values_, Options::Is::optional, "Value; several make an array");
        options.text("--type", type_, Options::Is::required, "TYPE",
                     "Type: int32, 'array of string', any, ...");
        options.json();
        options.replaceBroken();
    }

    int run(Context& context) override {
        // A wrong word is reported before all else.
        typeNamed(type_, TakesAny::yes);
        Writing::useLockWait();
        auto const [parent, name] = placeFor(context, name_);
        SettingsPtr key;
        try {
            key = makeKey(name, type_, values_);
        } catch (std::exception const& error) {
            throw Failure(name_ + ": " +
                          (dynamic_cast<Failure const*>(&error) ? error.what() : reasonOf(error)));
        }
        attach(context, key, parent, name_);
        context.output.beginRecord();
        context.output.note("added", name_);
        return done;
    }

private:
    std::string name_;
    std::vector<std::string> values_;
    std::string type_;
};

Registration<AddCommand> const addRegistration({23, "add", "Add a key of the user's own",
                                                "add plotter.speed --type double 1.5"});

}  // namespace

}  // namespace qbsettings
