#include <qbsettings/store/LineEdit.hpp>

#include <optional>
#include <set>

#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/store/SavedFile.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/tree/KeyDescription.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

/// What a line says, nothing if it cannot be split.
std::optional<Assignment> split(InputLine const& line) {
    try {
        return parseAssignment(line.text);
    } catch (Failure const&) {
        return std::nullopt;
    }
}

}  // namespace

LineEdit::LineEdit(Context& context, std::string const& original, std::string const& text)
    : context_(context), sets_(context, "user") {
    std::map<std::string, std::string> before;
    for (InputLine const& line : linesOf(original)) {
        if (auto const assignment = split(line)) before[assignment->name] = assignment->value;
    }
    std::set<std::string> named;
    std::set<std::string> changed;
    for (InputLine const& line : linesOf(text)) {
        auto const assignment = split(line);
        if (assignment) {
            std::string const& name = assignment->name;
            named.insert(name);
            auto const old = before.find(name);
            bool const isSame = old != before.end() && old->second == assignment->value;
            // Behind another line for the key it says something.
            if (isSame && changed.count(name) == 0) continue;
            changed.insert(name);
        }
        sets_.add(line);
    }
    take(sets_.refusals());
    for (auto const& [name, value] : before) {
        if (named.count(name) == 0) addUnset(name);
    }
}

void LineEdit::addUnset(std::string const& name) {
    try {
        SettingsPtr const key = findKey(context_.tree, name);
        if (!isStoredOn(key, "user")) return;
        context_.writing.begin(productOf(key));
        if (key->getParent()->isReadOnly()) {
            throw Failure(name + ": the group " + inQuotes(key->getParent()->getFullName()) +
                          " is read-only: nothing in it can be unset");
        }
        unsets_.push_back(key);
    } catch (Failure const& failure) {
        // It was removed in the meantime.
        if (failure.status() != nothingThere) refusals_.emplace(0, failure.what());
    }
}

void LineEdit::take(std::vector<LineBatch::Refusal> const& refusals) {
    for (LineBatch::Refusal const& refusal : refusals)
        refusals_.emplace(refusal.line, refusal.message);
}

void LineEdit::carryOut() {
    if (sets_.entries().empty() && unsets_.empty()) complain("nothing was changed");
    if (!sets_.entries().empty() && !sets_.setAll()) {
        take(sets_.refusals());
        return;
    }
    unsetAll();
    Output& output = context_.output;
    output.beginTable();
    for (LineBatch::Entry const& entry : sets_.entries()) {
        KeyType const type = typeOf(settings::core::describeKey(entry.key));
        output.row({{"change", "set"},
                    {"name", entry.key->getFullName()},
                    {"value", Cell::value(entry.value, type)}});
    }
    for (SettingsPtr const& key : unsets_) {
        KeyState const state = readKey(key);
        output.row({{"change", "unset"},
                    {"name", state.name},
                    {"value", Cell::value(state.value, typeOf(state.description))}});
    }
}

void LineEdit::unsetAll() const {
    std::vector<std::string> names;
    for (LineBatch::Entry const& entry : sets_.entries())
        names.push_back(entry.key->getFullName());
    for (SettingsPtr const& key : unsets_) {
        try {
            key->getParent()->unset(key->getName(), "user");
        } catch (std::exception const& error) {
            std::string const text = key->getFullName() + ": " + reasonOf(error) +
                                     context_.writing.afterword(productOf(key));
            throw Failure(names.empty() ? text : text + "; " + savedText("done", names, {}));
        }
        names.push_back(key->getFullName());
    }
}

}  // namespace qbsettings
