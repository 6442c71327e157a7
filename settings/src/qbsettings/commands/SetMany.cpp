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
