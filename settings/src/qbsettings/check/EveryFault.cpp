#include <qbsettings/check/EveryFault.hpp>

#include <fstream>
#include <limits>
#include <map>
#include <string>
#include <utility>

#include <qbsettings/store/FaultPlace.hpp>
#include <qbsettings/store/FaultSearch.hpp>
#include <qbsettings/store/MarkupText.hpp>
#include <qbsettings/store/TemporaryFolder.hpp>
#include <settingscore/host/Filesystem.hpp>

namespace qbsettings {

namespace fs = qf::filesystem;
using settings::core::Markup;

namespace {

constexpr std::size_t noUnit = std::numeric_limits<std::size_t>::max();

/// A group with what it says itself, and nothing inside.
Markup emptied(Markup const& group) {
    Markup result;
    result.tag = group.tag;
    result.attributes = group.attributes;
    result.line = group.line;
    result.column = group.column;
    return result;
}

/// A group that can be at no fault: it has a name alone.
Markup blameless(Markup const& group) {
    Markup result = emptied(group);
    std::string const name = group.attribute("name");
    bool const isLegal = name.find_first_of("<&\"\t\r\n") == std::string::npos;
    result.attributes = {{"name", isLegal ? name : "unnamed"}};
    return result;
}

/// Changes an element of which more may come to light behind it; false for one that is no value
/// and no rule.
bool mend(Markup& around, Markup const* element) {
    for (std::size_t i = 0; i < around.children.size(); ++i) {
        Markup& child = around.children[i];
        if (&child != element) {
            if (mend(child, element)) return true;
        } else if (child.tag == "value") {
            child.text = child.lastPiece = "0";  // A value of each type.
            return true;
        } else if (child.tag == "min" || child.tag == "max" || child.tag == "choices") {
            around.children.erase(around.children.begin() + static_cast<std::ptrdiff_t>(i));
            return true;
        }
    }
    return false;
}

class EveryFault {
public:
    EveryFault(qf::ustring const& file, Markup const& top, std::size_t most)
        : file_(file), folder_(folderOf(file)), most_(most) {
        gather(top, noUnit);
    }

    std::vector<Fault> run() {
        search(0, units_.size());
        for (auto const& [again, before] : twins_) {
            if (faults_.size() < most_) addTwin(units_[before], units_[again]);
        }
        return faults_;
    }

private:
    /// What is tried as a whole: the tag of a group, or another element with all inside.
    struct Unit {
        Markup const* element;
        std::size_t around;  ///< The unit of the group around it.
        std::size_t depth;
        bool isGroup;
    };

    void gather(Markup const& group, std::size_t around) {
        std::size_t const self = units_.size();
        units_.push_back({&group, around, around == noUnit ? 0 : units_[around].depth + 1, true});
        std::map<std::string, std::size_t> names;
        for (Markup const& child : group.children) {
            std::size_t const unit = units_.size();
            if (isNode(child)) {
                auto const [twin, isNew] = names.emplace(child.attribute("name"), unit);
                if (!isNew) twins_.emplace(unit, twin->second);
            }
            if (child.tag == "settings") {
                gather(child, self);
            } else {
                units_.push_back({&child, self, units_[self].depth + 1, false});
            }
        }
    }

    void search(std::size_t begin, std::size_t end) {
        if (faults_.size() >= most_ || refusalOfText(textOf(begin, end)).empty()) return;
        if (end - begin == 1) {
            addFaultsOf(units_[begin]);
            return;
        }
        std::size_t const middle = begin + (end - begin) / 2;
        search(begin, middle);
        search(middle, end);
    }

    /// One of two of a name gets another, so that they are no fault of what they stand in together.
    void rename(Markup& node, std::size_t unit) const {
        if (twins_.count(unit) != 0) node.attributes["name"] = "twin-" + std::to_string(unit);
    }

    /// A file with some of the units, in groups of which only the names are left.
    std::string textOf(std::size_t begin, std::size_t end) const {
        std::string text;
        std::vector<std::size_t> open;
        for (std::size_t i = begin; i < end; ++i) {
            Unit const& unit = units_[i];
            std::vector<std::size_t> missing;
            if (unit.isGroup) missing.push_back(i);
            std::size_t group = unit.around;
            for (; group != noUnit; group = units_[group].around) {
                std::size_t const depth = units_[group].depth;
                if (depth < open.size() && open[depth] == group) break;
                missing.push_back(group);
            }
            std::size_t const kept = group == noUnit ? 0 : units_[group].depth + 1;
            for (; open.size() > kept; open.pop_back())
                text += "</settings>";
            for (auto each = missing.rbegin(); each != missing.rend(); ++each) {
                Markup const& element = *units_[*each].element;
                Markup opened = *each == i ? emptied(element) : blameless(element);
                if (end - begin > 1) rename(opened, *each);
                std::string tag = openingTag(opened);
                if (open.empty()) tag.insert(tag.size() - 1, settingsNamespace);
                text += tag;
                open.push_back(*each);
            }
            if (unit.isGroup) continue;
            bool const isTwin = end - begin > 1 && twins_.count(i) != 0;
            Markup other = isTwin ? *unit.element : Markup();
            rename(other, i);
            text += markupText(isTwin ? other : *unit.element, folder_);
        }
        for (; !open.empty(); open.pop_back())
            text += "</settings>";
        return text;
    }

    std::string refusalOfText(std::string const& text) const {
        fs::path const part = fs::path(temporary_.path()) / fs::path(file_).filename();
        std::ofstream(part.native(), std::ios::binary) << text;
        return refusalOf(part.str(), file_);
    }

    /// The root element with these alone, in their groups.
    Markup alone(Unit const& unit, std::vector<Markup> const& elements) const {
        if (unit.around == noUnit) return elements.front();
        std::vector<Markup> inside = elements;
        for (std::size_t group = unit.around;; group = units_[group].around) {
            Markup around = blameless(*units_[group].element);
            around.children.swap(inside);
            if (units_[group].around == noUnit) return around;
            inside.clear();
            inside.push_back(std::move(around));
        }
    }

    void addFaultsOf(Unit const& unit) {
        Markup top = alone(unit, {unit.isGroup ? emptied(*unit.element) : *unit.element});
        std::string last;
        while (faults_.size() < most_) {
            std::string const reason = refusalOfText(markupText(top, folder_, noUnit));
            if (reason.empty() || reason == last) return;
            last = reason;
            auto const place = findFaultyElement(file_, top, reason);
            if (!place) return;
            Fault const fault{file_, reason};
            auto const additional = additionalFault(*place, fault);
            faults_.push_back(additional ? *additional : faultAt(*place, {}, fault));
            if (!mend(top, place->element)) return;
        }
    }

    void addTwin(Unit const& before, Unit const& again) {
        auto const bare = [](Markup const& node) {
            Markup result = emptied(node);
            result.attributes = {{"name", node.attribute("name")}};
            if (node.tag == "key") {
                result.children.emplace_back();
                result.children.back().tag = "string";
            }
            return result;
        };
        Markup const top = alone(again, {bare(*before.element), bare(*again.element)});
        std::string const reason = refusalOfText(markupText(top, folder_, noUnit));
        if (reason.empty()) return;
        walkElements(rootElement(top), [&](FaultyElement const& place) {
            bool const isIt = isNode(*place.element) && place.group &&
                              place.element == &place.group->children.back() &&
                              place.group->children.size() == 2;
            if (isIt) {
                faults_.push_back(
                    faultAt(place, duplicateRemark(*before.element), Fault{file_, reason}));
            }
            return isIt;
        });
    }

    qf::ustring const& file_;
    qf::ustring const folder_;
    std::size_t const most_;
    std::vector<Unit> units_;  ///< In the order of the file, from the root's.
    /// Units whose name another one has before them, with that.
    std::map<std::size_t, std::size_t> twins_;
    std::vector<Fault> faults_;
    TemporaryFolder temporary_;
};

}  // namespace

std::vector<Fault> everyFault(qf::ustring const& file, Markup const& top, std::size_t most) {
    if (top.tag != "settings") return {};
    return EveryFault(file, top, most).run();
}

}  // namespace qbsettings
