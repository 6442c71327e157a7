#include <qbsettings/check/ValueReview.hpp>

#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/store/NewValue.hpp>
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

    std::vector<Warning> run() {
        review(readMarkup(file_.path), file_.content, file_.product, file_.factoryFiles);
        return warnings_;
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
            // What the factory files lack is the user's own.
            if (!own || !there || inside.empty()) continue;
            if (isKey) {
                reviewKey(element, own, there);
            } else {
                review(element, own, there, inside);
            }
        }
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
            Markup const& place = firstValue(element);
            warnings_.push_back({{file_.path, message, place.line, place.column}, "refused-value"});
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
    std::vector<Warning> warnings_;
};

}  // namespace

std::vector<Warning> warningsOfValues(Directories const& directories, UserFile const& file) {
    return ValueReview(directories, file).run();
}

}  // namespace qbsettings
