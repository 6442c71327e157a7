// Settings of a file taken into the tree.

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include <nlohmann/json.hpp>
#include <qbsettings/Commands.hpp>
#include <qbsettings/Errors.hpp>
#include <qbsettings/Failure.hpp>
#include <qbsettings/Faults.hpp>
#include <qbsettings/Json.hpp>
#include <qbsettings/KeyState.hpp>
#include <qbsettings/Names.hpp>
#include <qbsettings/Saved.hpp>
#include <qbsettings/Store.hpp>
#include <qbsettings/Text.hpp>
#include <qbsettings/Values.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/tree/ZSettings.hpp>

namespace qbsettings {

namespace fs = qf::filesystem;
using settings::core::Settings;
using settings::core::ZSettings;

namespace {

/// What an import will do.
struct Plan {
    struct Row {
        std::string change;
        std::string name;
        KeyType type;
        boost::any value;
    };

    std::vector<Row> rows;
    std::vector<Settings::NodeValue> replaced;  ///< Keys whose own value gives way.
    std::vector<SettingsPtr> dropped;           ///< Keys of the file that are not to be taken.
    std::vector<std::string> refusals;

    void add(char const* change, std::string const& name, SettingsPtr const& key,
             boost::any const& value) {
        rows.push_back({change, name, typeOf(settings::core::describeKey(key)), value});
    }
};

/// Prints the rows, or all that was planned as a JSON object.
void print(Plan const& plan, bool json) {
    Json changes = Json::array();
    for (Plan::Row const& row : plan.rows) {
        if (json) {
            changes.push_back({{"change", row.change},
                               {"name", row.name},
                               {"value", jsonOf(row.value, row.type)}});
        } else {
            std::cout << row.change << '\t' << asColumn(row.name) << '\t'
                      << asColumn(join(elementTexts(row.value), ", ")) << '\n';
        }
    }
    if (json) printJson({{"changes", changes}, {"refused", plan.refusals}});
}

boost::any importedValue(SettingsPtr const& key) {
    return isStoredOn(key, "user") ? key->getParent()->getAny(key->getName(), "user")
                                   : boost::any();
}

class Planner {
public:
    Planner(Context& context, std::string const& level, bool replace)
        : context_(context), level_(level), replace_(replace) {}

    void planBelow(SettingsPtr const& source, SettingsPtr const& target) {
        for (SettingsPtr const& child : source->getChildren()) {
            SettingsPtr const there = target->getChild(child->getName());
            if (!there) {
                planNew(child, target->getFullName() + "." + child->getName());
            } else if (there->isLeafNode() != child->isLeafNode()) {
                plan_.refusals.push_back(there->getFullName() + ": it is a " +
                                         (there->isLeafNode() ? "key" : "group") + " here and a " +
                                         (child->isLeafNode() ? "key" : "group") + " in the file");
            } else if (child->isLeafNode()) {
                planKey(child, there);
            } else {
                planBelow(child, there);
            }
        }
    }

    /// A node that the target lacks, under the name that it will have.
    void planNew(SettingsPtr const& node, std::string const& name) {
        if (node->isLeafNode()) {
            plan_.add("added", name, node, importedValue(node));
            return;
        }
        for (SettingsPtr const& child : node->getChildren()) {
            planNew(child, name + "." + child->getName());
        }
    }

    Plan const& plan() const { return plan_; }

private:
    void planKey(SettingsPtr const& source, SettingsPtr const& target) {
        boost::any const value = importedValue(source);
        std::string const name = target->getFullName();
        if (value.empty()) return;
        if (target->isReadOnly() && isSame(value, valueOn(target, ""))) {
            // A value of the user's own would outlive a change of the factory's, for good.
            plan_.add("same", name, target, value);
            plan_.dropped.push_back(source);
            return;
        }
        bool const isThere = isStoredOn(target, level_);
        if (isThere && isSame(value, valueOn(target, level_))) {
            plan_.add("same", name, target, value);
            return;
        }
        if (isThere && !replace_) {
            plan_.add("kept", name, target, valueOn(target, level_));
            return;
        }
        try {
            target->getParent()->validateAny(target->getName(), value);
        } catch (std::exception const& error) {
            plan_.refusals.push_back(refusal(context_, target, error, elementTexts(value)).what());
            return;
        }
        plan_.add(isThere ? "replaced" : "set", name, target, value);
        if (isThere) plan_.replaced.emplace_back(target, value);
    }

    Context& context_;
    std::string level_;
    bool replace_;
    Plan plan_;
};

SettingsPtr readFile(std::string const& name) {
    qf::ustring const file = fs::absolute(fs::from_native(name), fs::path()).str();
    try {
        return Settings::importAsStandaloneObject(file);
    } catch (std::exception const& error) {
        throw Failure(faultOfImport(file, error).toText());
    }
}

/// The node that takes the content of the file, empty if that is a product that is not there.
SettingsPtr targetOf(Context& context, SettingsPtr const& source, std::string const& into) {
    if (!into.empty()) return findGroup(context, into);
    SettingsPtr const product = context.root()->getChild(source->getName());
    if (product) context.loading([&] { return product->getChildren(); });
    return product;
}

/// A folder of this process that goes with the object.
class TemporaryFolder {
public:
    TemporaryFolder() {
        char const* const place = ::secure_getenv("TMPDIR");
        std::string name = std::string(place && *place ? place : "/tmp") + "/qbsettings-XXXXXX";
        if (!::mkdtemp(name.data())) {
            throw Failure(name + " cannot be made for the dry run: " + std::strerror(errno));
        }
        path_ = fs::absolute(fs::from_native(name), fs::path());
    }
    ~TemporaryFolder() {
        try {
            fs::remove_all(path_);
        } catch (fs::FsysExceptionBase const&) {  // NOLINT(bugprone-empty-catch)
        }
    }
    TemporaryFolder(TemporaryFolder const&) = delete;
    TemporaryFolder& operator=(TemporaryFolder const&) = delete;

    qf::ustring path() const { return path_.str(); }

private:
    fs::path path_;
};

void carryOut(Context& context, Plan const& plan, SettingsPtr const& source,
              SettingsPtr const& target, std::string const& level) {
    for (SettingsPtr const& key : plan.dropped) {
        boost::dynamic_pointer_cast<ZSettings>(key->getParent())->removeKey(key->getName());
    }
    try {
        if (target) {
            target->mergeDescendants(source, level);
        } else {
            ZSettings::validateSettingOrGroupName(source->getName());
            boost::dynamic_pointer_cast<ZSettings>(source)->setParent(context.root());
        }
    } catch (std::exception const& error) {
        throw Failure("nothing was imported: " + messageOf(error));
    }
    if (!plan.replaced.empty()) {
        auto const errors = context.root()->setMultiple(plan.replaced, level);
        for (auto const& error : errors)
            complain(error.first + ": " + error.second);
        if (!errors.empty()) throw Failure("no value that was there already was replaced");
    }
    if (level == "user") confirmSaved(context, productOf(target ? target : source));
}

/// Carries it out in memory and in a folder that goes with it, so that all is refused that the
/// import itself would refuse, and nothing is changed.
void rehearse(Context& context, Plan const& plan, SettingsPtr const& source,
              SettingsPtr const& target, std::string const& level) {
    qf::ustring const file = context.userFile(target ? productOf(target) : source->getName());
    std::string const reason = level == "user" ? whyUnwritable(file) : "";
    if (!reason.empty()) {
        throw Failure("nothing was imported: " + pathText(file) + " cannot be written: " + reason);
    }
    TemporaryFolder const folder;
    std::string const realPlace = pathText(context.userDirectory());
    context.saveIn(folder.path());
    try {
        carryOut(context, plan, source, target, level);
    } catch (std::exception const& error) {
        std::string message = messageOf(error);
        std::string const place = pathText(folder.path());
        std::size_t const at = message.find(place);
        if (at != std::string::npos) message.replace(at, place.size(), realPlace);
        throw Failure(message);
    }
}

}  // namespace

int importCommand(Context& context, Arguments const& arguments) {
    std::string const level = levelForWriting(context, arguments.level);
    SettingsPtr const source = readFile(arguments.files.front());
    SettingsPtr const target = targetOf(context, source, arguments.into);
    if (!target && level != "user") {
        throw Failure(nothingThere, "there is no product " + inQuotes(source->getName()) +
                                        " that could take the values; one is made on the level "
                                        "'user' alone");
    }
    if (target) context.warnOfUnreadable(productOf(target));

    Planner planner(context, level, arguments.replace);
    if (target) {
        planner.planBelow(source, target);
    } else {
        planner.planNew(source, source->getName());
    }
    Plan plan = planner.plan();
    for (std::string const& text : plan.refusals)
        complain(text);
    if (!plan.refusals.empty()) {
        complain("nothing was imported");
        plan.rows.clear();
        if (arguments.json) print(plan, true);
        return refused;
    }
    (arguments.dryRun ? rehearse : carryOut)(context, plan, source, target, level);
    print(plan, arguments.json);
    return done;
}

}  // namespace qbsettings
