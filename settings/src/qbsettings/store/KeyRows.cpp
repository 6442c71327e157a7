#include <qbsettings/store/KeyRows.hpp>

#include <algorithm>
#include <utility>

#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/output/Output.hpp>
#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/store/NodeTexts.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Rules.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/tree/Settings.hpp>
#include <settingscore/value/AsciiCase.hpp>

namespace qbsettings {

using settings::core::detail::foldedAscii;

namespace {

boost::any valueOf(SettingsPtr const& key, std::string const& level) {
    try {
        return valueOn(key, level);
    } catch (Failure const&) {
        return {};  // It is told with the value in force.
    }
}

std::string wordsOf(texts::Texts const& told) {
    std::string words = join(
        std::vector<std::string>{told.summary, told.description, told.unit, told.deprecated}, "\n");
    for (auto const& label : told.labels)
        words += "\n" + label.second;
    return words;
}

}  // namespace

KeyRows::KeyRows(Output& output, NodeTexts& texts, What what)
    : output_(output), texts_(texts), what_(std::move(what)) {
    for (std::string& word : what_.words)
        word = foldedAscii(word);
}

bool KeyRows::isAskedFor(KeyState const& state) {
    if (what_.words.empty()) return true;
    std::string const rules = state.name + "\n" + join(elementTexts(state.value), "\n") + "\n" +
                              join(choiceTexts(state.description), "\n");
    std::string const all = foldedAscii(rules + "\n" + wordsOf(texts_.of(state.name)));
    return std::all_of(what_.words.begin(), what_.words.end(), [&](std::string const& word) {
        return all.find(word) != std::string::npos;
    });
}

void KeyRows::addTexts(Row& row, std::string const& name) {
    texts::Texts const told = texts_.of(name);
    row.push_back({"unit", Cell::orNothing(told.unit.empty() ? "-" : told.unit)});
    row.push_back({"summary", Cell::orNothing(told.summary.empty() ? "-" : told.summary)});
}

bool KeyRows::add(SettingsPtr const& key) {
    KeyState state = readKey(key);
    KeyType const type = typeOf(state.description);
    if (!isAskedFor(state)) return true;
    boost::any factory;
    if (what_.changedOnly) {
        if (state.level != "user" && state.level != "session") return true;
        factory = valueOf(key, "factory");
        if (!factory.empty() && isSame(state.value, factory)) return true;
    }
    if (!what_.level.empty()) {
        state.value = valueOf(key, what_.level);
        if (state.value.empty()) return true;
        state.level = isStoredOn(key, what_.level) ? what_.level : "runtime:" + what_.level;
    }
    ++count_;
    Row row = {{"name", state.name},
               {"type", type.name()},
               {"level", Cell::level(state.level)},
               {"value", Cell::value(state.value, type)}};
    if (what_.changedOnly) row.push_back({"factory", Cell::value(factory, type)});
    if (what_.isLong) {
        auto const& size = state.description.arraySize;
        std::string const elements = type.array && size ? sizeText(size->first, size->second) : "";
        std::string const bounds = boundsText(state.description);
        bool const isBoth = !elements.empty() && !bounds.empty();
        row.push_back({"takes", Cell::orNothing(elements.empty() && bounds.empty()
                                                    ? "-"
                                                    : elements + (isBoth ? ": " : "") + bounds)});
        addTexts(row, state.name);
    }
    output_.row(row);
    if (!state.problem.empty()) complain(state.name + ": " + state.problem);
    return state.problem.empty();
}

void KeyRows::addGroup(SettingsPtr const& group) {
    ++count_;
    Row row = {{"name", group->getFullName()},
               {"type", "group"},
               {"level", Cell::level("-")},
               {"value", Cell::value({}, KeyType())}};
    if (what_.isLong) {
        row.push_back({"takes", Cell::orNothing("-")});
        addTexts(row, group->getFullName());
    }
    output_.row(row);
}

}  // namespace qbsettings
