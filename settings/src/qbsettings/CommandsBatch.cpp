// Many keys set as one action.

#include <fstream>
#include <iostream>
#include <iterator>

#include <nlohmann/json.hpp>
#include <qbsettings/Commands.hpp>
#include <qbsettings/Failure.hpp>
#include <qbsettings/Json.hpp>
#include <qbsettings/LineReader.hpp>
#include <qbsettings/Names.hpp>
#include <qbsettings/Saved.hpp>
#include <qbsettings/Store.hpp>
#include <qbsettings/Text.hpp>
#include <qbsettings/Values.hpp>
#include <settingscore/tree/KeyDescription.hpp>
#include <settingscore/tree/Settings.hpp>

#include <set>

namespace qbsettings {

using settings::core::Settings;

namespace {

/// A line that sets a key.
struct Entry {
    std::size_t line;
    SettingsPtr key;
    boost::any value;
};

std::string readAll(std::istream& stream, std::string const& name) {
    std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (!stream || stream.bad()) throw Failure(name + " cannot be read");
    return text;
}

std::string readInput(Arguments const& arguments) {
    std::string const name = arguments.files.empty() ? "-" : arguments.files.front();
    if (name == "-") return readAll(std::cin, "standard input");
    std::ifstream stream(name, std::ios::binary);
    return readAll(stream, asLine(name));
}

/// Reads one line and checks it against the key's rules. @throws Failure
Entry readLine(Context& context, InputLine const& line) {
    Assignment const assignment = parseAssignment(line.text);
    SettingsPtr const key = findKey(context, assignment.name);
    context.warnOfUnreadable(productOf(key));
    KeyType const type = typeOf(settings::core::describeKey(key));
    std::vector<std::string> texts;
    try {
        texts = elementsAsWritten(assignment.value, type);
    } catch (Failure const& failure) {
        throw Failure(key->getFullName() + ": " + failure.what());
    }
    bool const isEmptyArray = texts.empty() && !type.array;
    boost::any const value = isEmptyArray ? boost::any(std::vector<qf::ustring>())
                                          : valueForKey(context, key, texts, std::string());
    try {
        key->getParent()->validateAny(key->getName(), value);
    } catch (std::exception const& error) {
        throw refusal(context, key, error, texts);
    }
    return {line.number, key, value};
}

/// What became of the lines.
struct Result {
    std::vector<Entry> entries;
    Json refused = Json::array();

    void refuse(Json const& line, std::string const& message) {
        refused.push_back({{"line", line}, {"message", message}});
    }
};

/// Reads all lines; tells every refusal.
void readLines(Context& context, std::string const& text, Result& result) {
    for (InputLine const& line : linesOf(text)) {
        try {
            result.entries.push_back(readLine(context, line));
        } catch (Failure const& failure) {
            complain("line " + std::to_string(line.number) + ": " + failure.what());
            result.refuse(line.number, failure.what());
        }
    }
}

/// Sets the keys, all or none.
void setAll(Context& context, std::string const& level, Result& result) {
    std::vector<Settings::NodeValue> batch;
    for (Entry const& entry : result.entries)
        batch.emplace_back(entry.key, entry.value);
    // A key that was named twice, or one whose rules the first line fixed, can still be refused.
    for (auto const& [name, message] : context.root()->setMultiple(batch, level)) {
        std::string const text = name + ": " + message;
        complain(text);
        Json line;
        for (Entry const& entry : result.entries) {
            if (entry.key->getFullName() == name) line = entry.line;
        }
        result.refuse(line, text);
    }
}

/// A JSON object that tells which names got which value; none if a line was refused.
void printResult(Result const& result) {
    Json rows = Json::array();
    for (Entry const& entry : result.entries) {
        if (!result.refused.empty()) break;
        KeyType const type = typeOf(settings::core::describeKey(entry.key));
        rows.push_back({{"line", entry.line},
                        {"name", entry.key->getFullName()},
                        {"value", jsonOf(entry.value, type)}});
    }
    printJson({{"set", rows}, {"refused", result.refused}});
}

/// What holds after the last line that names a key.
void confirmAll(Context& context, std::vector<Entry> const& entries, std::string const& level) {
    std::set<SettingsPtr> seen;
    std::set<std::string> products;
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
        if (!seen.insert(entry->key).second) continue;
        confirmStored(entry->key, entry->value, level);
        products.insert(productOf(entry->key));
    }
    if (level != "user") return;
    for (std::string const& product : products)
        confirmSaved(context, product);
}

}  // namespace

int setManyCommand(Context& context, Arguments const& arguments) {
    std::string const text = readInput(arguments);
    std::string const level = levelForWriting(context, arguments.level);
    if (level == "factory") throw Failure("the level 'factory' cannot be changed");
    Result result;
    readLines(context, text, result);
    if (!result.refused.empty()) {
        complain("nothing was set");
    } else {
        setAll(context, level, result);
    }
    if (result.refused.empty()) confirmAll(context, result.entries, level);
    if (arguments.json) printResult(result);
    return result.refused.empty() ? done : refused;
}

}  // namespace qbsettings
