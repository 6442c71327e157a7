#include <string>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/NewNode.hpp>
#include <qbsettings/text/Failure.hpp>
#include <settingscore/tree/ZSettings.hpp>

namespace qbsettings {

namespace {

/// `add-group`: a group or product of the user's own.
class AddGroupCommand : public Command {
public:
    void declare(Options& options) override {
        options.name(name_, "Full name of the group");
        options.json();
        options.replaceBroken();
    }

    int run(Context& context) override {
        using settings::core::ZSettings;
        Writing::useLockWait();
        auto const [parent, name] = placeFor(context, name_);
        attach(context,
               ZSettings::createSettingsNode(name, false, true, settings::core::Validator(), false),
               parent, name_);
        context.output.beginRecord();
        context.output.note("added", name_);
        return done;
    }

private:
    std::string name_;
};

Registration<AddGroupCommand> const addGroupRegistration(
    {24, "add-group", "Add a group, or a product of the user's own", "add-group plotter.mine"});

}  // namespace

}  // namespace qbsettings
