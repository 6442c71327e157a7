#include <string>
#include <vector>

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
        options.names(names_, Options::Is::required, "Key");
        options.level(level_, "Only this level: session, user or factory");
        options.json();
    }

    int run(Context& context) override {
        if (!level_.empty()) requireLevel(level_);
        std::vector<SettingsPtr> keys;
        for (std::string const& name : names_)
            keys.push_back(findKey(context.tree, name));
        if (keys.size() > 1) context.output.beginRecords();
        int status = done;
        for (SettingsPtr const& key : keys) {
            if (!show(context, key)) status = nothingThere;
        }
        return context.tree.faults().empty() ? status : refused;
    }

private:
    /// False if there is no value.
    bool show(Context& context, SettingsPtr const& key) const {
        boost::any const value = valueOn(key, level_);
        KeyType const type = typeOf(settings::core::describeKey(key));
        context.output.beginRecord();
        context.output.note("name", key->getFullName());
        context.output.note("type", type.name());
        context.output.note("value", Cell::value(value, type));
        if (names_.size() > 1) {
            context.output.line(asColumn(key->getFullName()) + "\t" +
                                asColumn(join(elementTexts(value), ", ")));
        } else {
            for (std::string const& text : elementTexts(value))
                context.output.line(text);
        }
        if (!value.empty()) return true;
        complain(key->getFullName() + (level_.empty()
                                           ? ": it has no value"
                                           : ": it has no value on the level " + inQuotes(level_)));
        return false;
    }

    std::vector<std::string> names_;
    std::string level_;
};

Registration<GetCommand> const getRegistration({2, "get", "Print a value, one element per line",
                                                "get plotter.lineWidth"});

}  // namespace

}  // namespace qbsettings
