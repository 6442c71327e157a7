#include <string>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/store/Levels.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

/// `get`: a value and nothing else.
class GetCommand : public Command {
public:
    void declare(Options& options) override {
        options.name(name_, "Key");
        options.level(level_, "Only this level: session, user or factory");
        options.json();
    }

    int run(Context& context) override {
        if (!level_.empty()) requireLevel(level_);
        SettingsPtr const key = findKey(context.tree, name_);
        boost::any const value = valueOn(key, level_);
        KeyType const type = typeOf(settings::core::describeKey(key));
        context.output.beginRecord();
        context.output.note("name", key->getFullName());
        context.output.note("type", type.name());
        context.output.note("value", Cell::value(value, type));
        for (std::string const& text : elementTexts(value))
            context.output.line(text);
        if (!context.tree.faults().empty()) return refused;
        if (!value.empty()) return done;
        complain(key->getFullName() + (level_.empty()
                                           ? ": it has no value"
                                           : ": it has no value on the level " + inQuotes(level_)));
        return nothingThere;
    }

private:
    std::string name_;
    std::string level_;
};

Registration<GetCommand> const getRegistration({2, "get", "Print a value, one element per line",
                                                "get plotter.lineWidth"});

}  // namespace

}  // namespace qbsettings
