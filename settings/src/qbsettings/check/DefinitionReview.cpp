#include <qbsettings/check/DefinitionReview.hpp>

#include <cstdlib>
#include <map>

#include <qbsettings/check/NamePath.hpp>
#include <qbsettings/text/Text.hpp>

namespace qbsettings {

using settings::core::Markup;

namespace {

class DefinitionReview {
public:
    DefinitionReview(qf::ustring const& file, bool ofUser) : file_(file), ofUser_(ofUser) {}

    std::vector<Finding> run(Markup const& top) {
        path_.enter(top);
        for (Markup const& child : top.children)
            review(child);
        return findings_;
    }

private:
    void add(Markup const& at, char const* id, std::string const& message) {
        std::string const key = path_.text();
        findings_.push_back({{file_, key + ": " + message, at.line, at.column, key}, id});
    }

    void review(Markup const& element) {
        bool const isKey = element.tag == "key";
        if ((isKey || element.tag == "settings") && element.attribute("name").empty()) {
            add(element, "unnamed",
                std::string(isKey ? "a key" : "a group") +
                    " in it has no name, so that nobody can ask for it; name it");
        }
        path_.enter(element);
        for (Markup const& child : element.children) {
            if (isKey && child.tag != "key" && child.tag != "validationfunc") {
                reviewType(child);
            } else {
                review(child);
            }
        }
        path_.leave(element);
    }

    void reviewType(Markup const& type) {
        reviewValues(type);
        if (ofUser_) return;
        reviewSizes(type);
        std::map<std::string, Markup const*> first;
        for (Markup const& child : type.children) {
            if (child.tag != "metadata") continue;
            reviewRepeated(first, child);
            for (Markup const& rule : child.children) {
                if (rule.tag != "choices") {
                    reviewRepeated(first, rule);
                } else if (rule.lastPiece != trimmed(rule.lastPiece, " \t\r\n")) {
                    add(rule, "choice-blanks",
                        "the choice " + inQuotes(rule.lastPiece) +
                            " has blanks around it, which belong to it; take them away");
                }
            }
        }
    }

    void reviewValues(Markup const& type) {
        Markup const* const value = type.find("value");
        if (!value) return;
        if (type.attribute("undef") == "true") {
            add(*value, "unused-value",
                "the value has no effect, because undef=\"true\" says that there is none; remove "
                "one of both");
        } else if (!ofUser_ && type.find("runtimedefault")) {
            add(*value, "unused-value",
                "the value has no effect, because the default is computed; remove one of both");
        }
    }

    void reviewSizes(Markup const& type) {
        auto const size = [&](char const* attribute) {
            std::string const text = type.attribute(attribute);
            return text.empty() ? 1UL : std::strtoul(text.c_str(), nullptr, 10);
        };
        unsigned long const least = size("minArraySize");
        unsigned long const most = size("maxArraySize");
        if (most == 0 || least <= most) return;
        std::string const absent =
            type.attribute("maxArraySize").empty() ? ", as it is if absent" : "";
        add(type, "array-bounds",
            "no value can have a size of at least " + std::to_string(least) +
                " (minArraySize) and at most " + std::to_string(most) + " (maxArraySize" + absent +
                ")");
    }

    void reviewRepeated(std::map<std::string, Markup const*>& first, Markup const& rule) {
        auto const [before, isNew] = first.emplace(rule.tag, &rule);
        if (isNew) return;
        add(rule, "repeated-rule",
            inQuotes(rule.tag) + " stands at " + std::to_string(before->second->line) + ":" +
                std::to_string(before->second->column) + " already; write it once");
    }

    qf::ustring const& file_;
    bool ofUser_;
    NamePath path_;
    std::vector<Finding> findings_;
};

}  // namespace

std::vector<Finding> findingsOfDefinitions(qf::ustring const& file, Markup const& top,
                                           bool ofUser) {
    return DefinitionReview(file, ofUser).run(top);
}

}  // namespace qbsettings
