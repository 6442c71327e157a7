#include <qbsettings/check/ValueReview.hpp>

#include <algorithm>

#include <qbsettings/check/NamePath.hpp>
#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/store/NewValue.hpp>
#include <qbsettings/text/Near.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/persistence/Markup.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

using settings::core::Markup;
using settings::core::readMarkup;

namespace {

class ValueReview {
public:
    ValueReview(Directories const& directories, UserFile const& file)
        : directories_(directories), file_(file) {}

    std::vector<Finding> run() {
        review(readMarkup(file_.path), file_.content, file_.product, file_.factoryFiles);
        return findings_;
    }

private:
    /// `source` is the group in the user's file, `target` that in the tree, `definitions` are those
    /// in the factory files.
    void review(Markup const& markup, SettingsPtr const& source, SettingsPtr const& target,
                std::vector<SettingsPtr> const& definitions) {
        for (Markup const& element : markup.children) {
            bool const isKey = element.tag == "key";
            auto const childOf = [&](SettingsPtr const& group) {
                SettingsPtr const child = group->getChild(element.attribute("name"));
                return child && child->isLeafNode() == isKey ? child : SettingsPtr();
            };
            SettingsPtr const own = childOf(source);
            SettingsPtr const there = childOf(target);
            std::vector<SettingsPtr> inside;
            for (SettingsPtr const& definition : definitions) {
                if (SettingsPtr const found = childOf(definition)) inside.push_back(found);
            }
            if (!own || !there) continue;
            if (inside.empty()) {
                reviewUndeclared(element, own, definitions);
            } else if (isKey) {
                reviewKey(element, own, there);
            } else {
                review(element, own, there, inside);
            }
        }
    }

    void reviewUndeclared(Markup const& element, SettingsPtr const& own,
                          std::vector<SettingsPtr> const& definitions) {
        if (!file_.areAll || definitions.empty()) return;
        add(element, own, "undeclared-key",
            shownName(own->getFullName()) + ": no factory file declares it" +
                suggestionFor(own->getName(), definitions));
    }

    /// Of the names beside it, as long as comparing does not take too long.
    std::string suggestionFor(std::string const& name,
                              std::vector<SettingsPtr> const& definitions) {
        std::vector<std::string> names;
        if (name.size() > longestName) return {};
        for (SettingsPtr const& group : definitions) {
            if (comparisons_ == 0) break;
            auto const children = group->getChildren();
            comparisons_ -= std::min(comparisons_, children.size());
            for (SettingsPtr const& child : children) {
                if (child->getName().size() <= longestName) names.push_back(child->getName());
            }
        }
        return suggestion(name, names);
    }

    void add(Markup const& place, SettingsPtr const& node, char const* id,
             std::string const& message) {
        findings_.push_back(
            {{file_.path, message, place.line, place.column, shownName(node->getFullName())}, id});
    }

    void reviewKey(Markup const& element, SettingsPtr const& own, SettingsPtr const& target) {
        if (!isStoredOn(own, "user")) return;
        boost::any const value = valueOn(own, "user");
        try {
            target->getParent()->validateAny(target->getName(), value);
        } catch (std::exception const& error) {
            std::string const message =
                refusal(directories_, target, error, elementTexts(value)).what() +
                std::string(file_.isLeftOut ? "; the whole file is ignored: change or remove "
                                              "the value here"
                                            : "; the value here is in force anyway: change "
                                              "or remove it");
            add(firstValue(element), target, "refused-value", message);
            return;
        }
        if (isStoredOn(target, "factory") && isSame(value, valueOn(target, "factory"))) {
            std::string const name = shownName(target->getFullName());
            add(firstValue(element), target, "same-as-factory",
                name + ": it is the factory's value; 'qbsettings unset " + name +
                    "' makes it follow a new one");
        }
    }

    static Markup const& firstValue(Markup const& key) {
        for (Markup const& type : key.children) {
            if (Markup const* const value = type.find("value")) return *value;
        }
        return key;
    }

    Directories const& directories_;
    UserFile const& file_;
    static constexpr std::size_t longestName = 63;
    std::size_t comparisons_ = 100000;
    std::vector<Finding> findings_;
};

}  // namespace

std::vector<Finding> findingsOfValues(Directories const& directories, UserFile const& file) {
    return ValueReview(directories, file).run();
}

}  // namespace qbsettings
