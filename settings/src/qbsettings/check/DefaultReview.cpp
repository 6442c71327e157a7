#include <qbsettings/check/DefaultReview.hpp>

#include <qbsettings/check/NamePath.hpp>
#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/text/Rules.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

using settings::core::Markup;

namespace {

class DefaultReview {
public:
    explicit DefaultReview(qf::ustring const& file) : file_(file) {}

    void review(Markup const& group, SettingsPtr const& content) {
        for (Markup const& child : group.children) {
            bool const isKey = child.tag == "key";
            if (!isKey && child.tag != "settings") continue;
            Markup const* const value = isKey ? valueWithRules(child) : nullptr;
            if (isKey && !value) continue;
            SettingsPtr const node = content->getChild(child.attribute("name"));
            if (!node || node->isLeafNode() != isKey) continue;
            if (isKey) {
                reviewKey(*value, node);
            } else {
                review(child, node);
            }
        }
    }

    std::vector<Finding> findings_;

private:
    static Markup const* valueWithRules(Markup const& key) {
        for (Markup const& type : key.children) {
            if (type.find("metadata")) return type.find("value");
        }
        return nullptr;
    }

    void reviewKey(Markup const& value, SettingsPtr const& key) {
        auto const description = settings::core::describeKey(key);
        if (description.storedLevels.empty()) return;
        std::string const refused = refusedElement(description, valueOn(key, "user"));
        if (refused.empty()) return;
        std::string const name = shownName(key->getFullName());
        findings_.push_back(
            {{file_,
              name + ": the default " + refused +
                  " is not allowed by the key's own rules: it takes " + boundsText(description),
              value.line, value.column, name},
             "default-refused"});
    }

    qf::ustring const& file_;
};

}  // namespace

std::vector<Finding> findingsOfDefaults(qf::ustring const& file, Markup const& top,
                                        SettingsPtr const& content) {
    DefaultReview review(file);
    review.review(top, content);
    return review.findings_;
}

}  // namespace qbsettings
