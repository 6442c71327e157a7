#include <qbsettings/store/ImportPlan.hpp>

#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/store/NewValue.hpp>

namespace qbsettings {

namespace {

boost::any importedValue(SettingsPtr const& key) {
    return isStoredOn(key, "user") ? key->getParent()->getAny(key->getName(), "user")
                                   : boost::any();
}

class Planner {
public:
    Planner(Directories const& directories, std::string const& level, bool replace)
        : directories_(directories), level_(level), replace_(replace) {}

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
            add("added", name, node, importedValue(node));
            return;
        }
        for (SettingsPtr const& child : node->getChildren())
            planNew(child, name + "." + child->getName());
    }

    ImportPlan const& plan() const { return plan_; }

private:
    void add(char const* change, std::string const& name, SettingsPtr const& key,
             boost::any const& value) {
        plan_.changes.push_back({change, name, typeOf(settings::core::describeKey(key)), value});
    }

    void planKey(SettingsPtr const& source, SettingsPtr const& target) {
        boost::any const value = importedValue(source);
        std::string const name = target->getFullName();
        if (value.empty()) return;
        if (target->isReadOnly() && isSame(value, valueOn(target, ""))) {
            // A value of the user's own would outlive a change of the factory's, for good.
            add("same", name, target, value);
            plan_.dropped.push_back(source);
            return;
        }
        bool const isThere = isStoredOn(target, level_);
        if (isThere && isSame(value, valueOn(target, level_))) {
            add("same", name, target, value);
            return;
        }
        if (isThere && !replace_) {
            add("kept", name, target, valueOn(target, level_));
            return;
        }
        try {
            target->getParent()->validateAny(target->getName(), value);
        } catch (std::exception const& error) {
            plan_.refusals.push_back(
                refusal(directories_, target, error, elementTexts(value)).what());
            return;
        }
        add(isThere ? "replaced" : "set", name, target, value);
        if (isThere) plan_.replaced.emplace_back(target, value);
    }

    Directories const& directories_;
    std::string level_;
    bool replace_;
    ImportPlan plan_;
};

}  // namespace

ImportPlan planImport(Directories const& directories, SettingsPtr const& source,
                      SettingsPtr const& target, std::string const& level, bool replace) {
    Planner planner(directories, level, replace);
    if (target) {
        planner.planBelow(source, target);
    } else {
        planner.planNew(source, source->getName());
    }
    return planner.plan();
}

}  // namespace qbsettings
