#include <qbsettings/store/LineBatch.hpp>

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/store/NewValue.hpp>
#include <qbsettings/store/SavedFile.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/tree/KeyDescription.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

using settings::core::Settings;

LineBatch::LineBatch(Context& context, std::string level)
    : context_(context), level_(std::move(level)) {}

bool LineBatch::add(InputLine const& line) {
    try {
        entries_.push_back(read(line));
    } catch (Failure const& failure) {
        refusals_.push_back({line.number, failure.what()});
        return false;
    }
    return true;
}

LineBatch::Entry LineBatch::read(InputLine const& line) const {
    Assignment const assignment = parseAssignment(line.text);
    SettingsPtr const key = findKey(context_.tree, assignment.name);
    if (level_ == "user") context_.writing.begin(productOf(key));
    KeyType const type = typeOf(settings::core::describeKey(key));
    std::vector<std::string> texts;
    try {
        texts = elementsAsWritten(assignment.value, type);
    } catch (Failure const& failure) {
        throw Failure(key->getFullName() + ": " + failure.what());
    }
    boost::any const value = valueForKey(context_.directories, key, texts, std::string(), level_);
    try {
        key->getParent()->validateAny(key->getName(), value);
    } catch (std::exception const& error) {
        throw refusal(context_.directories, key, error, texts);
    }
    return {line.number, key, value};
}

bool LineBatch::setAll() {
    std::vector<Settings::NodeValue> batch;
    for (Entry const& entry : entries_)
        batch.emplace_back(entry.key, entry.value);
    // A key that was named twice, or one whose rules the first line fixed, can still be refused.
    settings::core::BatchErrors errors;
    try {
        errors = context_.tree.root()->setMultiple(batch, level_);
        if (errors.empty()) confirmAll();
    } catch (std::exception const& error) {
        complain(messageOf(error));
        reportSaved();
    }
    for (auto const& [name, message] : errors) {
        std::size_t line = 0;
        for (Entry const& entry : entries_) {
            if (entry.key->getFullName() == name) line = entry.line;
        }
        refusals_.push_back({line, name + ": " + message});
    }
    return errors.empty();
}

/// Says what is in the files after a failure midway: each product is a save of its own.
void LineBatch::reportSaved() const {
    struct Product {
        std::vector<std::string> saved;
        std::vector<std::string> missing;
    };
    std::map<std::string, Product> products;
    std::map<std::string, SavedFile> files;
    bool changed = false;
    for (Entry const* entry : lastEntries()) {
        std::string const product = productOf(entry->key);
        if (level_ == "user" && !files.count(product)) {
            files.emplace(product, SavedFile(context_.directories.userFile(product)));
            auto const state = context_.writing.changed(product);
            if (state == Writing::Changed::unknown) {
                throw Failure(product + context_.writing.afterword(product));
            }
            changed = changed || state == Writing::Changed::yes;
        }
        std::string const name = entry->key->getFullName();
        bool const isSaved = files.count(product) && files.at(product).holds(name, entry->value);
        (isSaved ? products[product].saved : products[product].missing).push_back(name);
    }
    if (!changed) throw Failure("nothing was set");
    // A product that is whole in one of the lists stands there by its name.
    std::vector<std::string> saved;
    std::vector<std::string> missing;
    for (auto const& [name, product] : products) {
        bool const isMixed = !product.saved.empty() && !product.missing.empty();
        for (auto const& [from, to] :
             {std::pair(&product.saved, &saved), std::pair(&product.missing, &missing)}) {
            if (isMixed) {
                to->insert(to->end(), from->begin(), from->end());
            } else if (!from->empty()) {
                to->push_back(name);
            }
        }
    }
    throw Failure(savedText("saved", saved, missing));
}

/// The last line that names a key holds.
std::vector<LineBatch::Entry const*> LineBatch::lastEntries() const {
    std::vector<Entry const*> last;
    std::set<SettingsPtr> seen;
    for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry) {
        if (seen.insert(entry->key).second) last.push_back(&*entry);
    }
    std::reverse(last.begin(), last.end());
    return last;
}

void LineBatch::confirmAll() const {
    for (Entry const* entry : lastEntries())
        confirmStored(entry->key, entry->value, level_);
}

}  // namespace qbsettings
