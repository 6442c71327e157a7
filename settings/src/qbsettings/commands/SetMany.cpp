#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/LineBatch.hpp>
#include <qbsettings/store/NewValue.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/tree/KeyDescription.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

struct Closing {
    void operator()(std::FILE* file) const {
        if (file != stdin) std::fclose(file);
    }
};

std::string readInput(std::string const& name) {
    bool const isInput = name == "-";
    std::unique_ptr<std::FILE, Closing> const file(isInput ? stdin
                                                           : std::fopen(name.c_str(), "re"));
    std::string text;
    if (file) {
        std::string piece(std::size_t{1} << 16, '\0');
        while (std::size_t const count = std::fread(piece.data(), 1, piece.size(), file.get()))
            text.append(piece, 0, count);
        if (std::ferror(file.get()) == 0) return text;
    }
    throw Failure((isInput ? "standard input" : asLine(name)) +
                  " cannot be read: " + std::strerror(errno));
}

/// `set-many`: many keys set as one action.
class SetManyCommand : public Command {
public:
    void declare(Options& options) override {
        options.file(file_, Options::Is::optional,
                     "File with the lines; standard input if absent or '-'");
        options.level(level_, "Level to write: user (default) or session");
        options.json();
        options.replaceBroken();
    }

    int run(Context& context) override {
        std::string const text = readInput(file_);
        level_ = levelForWriting(level_);
        if (level_ == "factory") throw Failure("the level 'factory' cannot be changed");
        context.output.beginRecord();
        context.output.list("set");
        context.output.list("refused");
        LineBatch batch(context, level_);
        for (InputLine const& line : linesOf(text)) {
            if (batch.add(line)) continue;
            tellRefusal(context, batch.refusals().back(),
                        "line " + std::to_string(line.number) + ": ");
        }
        if (batch.refusals().empty() && !batch.setAll()) {
            for (LineBatch::Refusal const& refusal : batch.refusals())
                tellRefusal(context, refusal, {});
        }
        if (!batch.refusals().empty()) {
            complain("nothing was set");
            return refused;
        }
        for (LineBatch::Entry const& entry : batch.entries()) {
            KeyType const type = typeOf(settings::core::describeKey(entry.key));
            context.output.note("set", {{"line", lineCell(entry.line)},
                                        {"name", entry.key->getFullName()},
                                        {"value", Cell::value(entry.value, type)}});
        }
        return done;
    }

private:
    static Cell lineCell(std::size_t line) {
        return line == 0 ? Cell::orNothing("-") : Cell::number(line);
    }

    static void refuse(Context& context, std::size_t line, std::string const& message) {
        context.output.note("refused", {{"line", lineCell(line)}, {"message", message}});
    }

    /// Reads one line and checks it against the key's rules. @throws Failure
    Entry readLine(Context& context, InputLine const& line) const {
        Assignment const assignment = parseAssignment(line.text);
        SettingsPtr const key = findKey(context.tree, assignment.name);
        if (level_ == "user") context.writing.begin(productOf(key));
        KeyType const type = typeOf(settings::core::describeKey(key));
        std::vector<std::string> texts;
        try {
            texts = elementsAsWritten(assignment.value, type);
        } catch (Failure const& failure) {
            throw Failure(key->getFullName() + ": " + failure.what());
        }
        boost::any const value =
            valueForKey(context.directories, key, texts, std::string(), level_);
        try {
            key->getParent()->validateAny(key->getName(), value);
        } catch (std::exception const& error) {
            throw refusal(context.directories, key, error, texts);
        }
        return {line.number, key, value};
    }

    /// Reads all lines; reports every refusal. False if there was one.
    bool readLines(Context& context, std::string const& text) {
        bool good = true;
        for (InputLine const& line : linesOf(text)) {
            try {
                entries_.push_back(readLine(context, line));
            } catch (Failure const& failure) {
                complain("line " + std::to_string(line.number) + ": " + failure.what());
                refuse(context, line.number, failure.what());
                good = false;
            }
        }
        return good;
    }

    /// Sets the keys, all or none. False if one was refused.
    bool setAll(Context& context) {
        std::vector<Settings::NodeValue> batch;
        for (Entry const& entry : entries_)
            batch.emplace_back(entry.key, entry.value);
        // A key that was named twice, or one whose rules the first line fixed, can still be
        // refused.
        settings::core::BatchErrors errors;
        try {
            errors = context.tree.root()->setMultiple(batch, level_);
            if (errors.empty()) confirmAll();
        } catch (std::exception const& error) {
            complain(messageOf(error));
            reportSaved(context);
        }
        for (auto const& [name, message] : errors) {
            complain(name + ": " + message);
            std::size_t line = 0;
            for (Entry const& entry : entries_) {
                if (entry.key->getFullName() == name) line = entry.line;
            }
            refuse(context, line, name + ": " + message);
        }
        return errors.empty();
    }

    /// Says what is in the files after a failure midway: each product is a save of its own.
    /// @throws Failure always
    [[noreturn]] void reportSaved(Context& context) const {
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
                files.emplace(product, SavedFile(context.directories.userFile(product)));
                auto const state = context.writing.changed(product);
                if (state == Writing::Changed::unknown) {
                    throw Failure(product + context.writing.afterword(product));
                }
                changed = changed || state == Writing::Changed::yes;
            }
            std::string const name = entry->key->getFullName();
            bool const isSaved =
                files.count(product) && files.at(product).holds(name, entry->value);
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
    std::vector<Entry const*> lastEntries() const {
        std::vector<Entry const*> last;
        std::set<SettingsPtr> seen;
        for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry) {
            if (seen.insert(entry->key).second) last.push_back(&*entry);
        }
        std::reverse(last.begin(), last.end());
        return last;
    }

    void confirmAll() const {
        for (Entry const* entry : lastEntries())
            confirmStored(entry->key, entry->value, level_);
    static void tellRefusal(Context& context, LineBatch::Refusal const& refusal,
                            std::string const& front) {
        complain(front + refusal.message);
        context.output.note("refused",
                            {{"line", lineCell(refusal.line)}, {"message", refusal.message}});
    }

    std::string file_ = "-";
    std::string level_;
};

Registration<SetManyCommand> const setManyRegistration(
    {22, "set-many", "Set many keys, all or none, from lines 'name = value' with arrays as [1, 2]",
     "set-many changes.txt"});

}  // namespace

}  // namespace qbsettings
