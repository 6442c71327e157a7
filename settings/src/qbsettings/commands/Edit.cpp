#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/output/Editor.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/EditedText.hpp>
#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/store/LineEdit.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/store/SavedFile.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/prefdir/PreferencesDirectory.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

namespace fs = qf::filesystem;

/// What a child gives back whose text has lines that are refused.
constexpr int askAgain = 100;

/// Goes on in a child of this process, so that it meets the store as it is at this time. Nothing in
/// the child; in the parent the exit status of the child, when that has ended.
std::optional<int> goOnInChild() {
    std::cout.flush();
    ::pid_t const child = ::fork();
    if (child == 0) return std::nullopt;
    int status = 0;
    while (child > 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (child < 0) throw Failure(std::string("no process can be made: ") + std::strerror(errno));
    return WIFEXITED(status) ? WEXITSTATUS(status) : static_cast<int>(refused);
}

fs::path newTextFile() {
    char const* const place = ::secure_getenv("TMPDIR");
    std::string name = std::string(place && *place ? place : "/tmp") + "/qbsettings-XXXXXX.conf";
    int const descriptor = ::mkstemps(name.data(), 5);
    if (descriptor < 0) throw Failure(name + " cannot be made: " + std::strerror(errno));
    ::close(descriptor);
    return fs::absolute(fs::from_native(name), fs::path());
}

std::string textOf(fs::path const& file) {
    auto const text = bytesOf(file.str());
    if (!text) throw Failure(pathText(file.str()) + " cannot be read");
    return *text;
}

void write(fs::path const& file, std::string const& text) {
    std::ofstream stream(file.native(), std::ios::binary);
    stream << text << std::flush;
    if (!stream) {
        throw Failure(pathText(file.str()) + " cannot be written: " + std::strerror(errno));
    }
}

/// `edit`: what the user has set, or the user's file of a product itself, in an editor.
class EditCommand : public Command {
public:
    void declare(Options& options) override {
        options.name(name_, "Product, group or key; all products if absent");
        options.flag("--file", file_, "Open the product's user file itself, at its first fault");
        options.json();
        options.replaceBroken();
    }

    int run(Context& context) override {
        if (!file_) return editText(context);
        if (!name_) throw Failure(wrongUsage, "with --file, a product has to be named");
        return editFile(context);
    }

private:
    // --- The text of what is set ---

    int editText(Context& context) const {
        fs::path const file = newTextFile();
        std::optional<int> status = goOnInChild();
        if (!status) return writeText(context, file);
        if (*status != done) {
            fs::remove(file);
            return *status;
        }
        std::string const original = textOf(file);
        std::string shown = original;
        unsigned long line = 0;
        // The file stays, and is named, unless all that was typed is done.
        try {
            while (true) {
                runEditor(file.native(), line);
                std::string const text = textOf(file);
                bool const isEmpty = text.find_first_not_of(" \t\r\n") == std::string::npos;
                if (text == original || isEmpty) {
                    complain("nothing was changed");
                    context.output.beginTable();
                    status = done;
                    break;
                }
                if (text == shown) throw Failure("nothing was changed");
                status = goOnInChild();
                if (!status) return apply(context, file, original, text);
                if (*status != askAgain) break;
                // Without a person at it, an editor could make the same mistake for ever.
                if (::isatty(STDIN_FILENO) != 1) throw Failure("nothing was changed");
                shown = textOf(file);
                line = firstReason(shown);
            }
        } catch (Failure const& failure) {
            if (!fs::exists(file) || textOf(file) == original) {
                fs::remove(file);
                throw;
            }
            throw Failure(failure.what() + ("; " + kept(file)));
        }
        if (*status == done) {
            fs::remove(file);
        } else {
            complain(kept(file));
        }
        return *status;
    }

    static unsigned long firstReason(std::string const& text) {
        std::size_t const at = std::min(("\n" + text).find("\n#! "), text.size());
        return 2 + static_cast<unsigned long>(
                       std::count(text.begin(), text.begin() + static_cast<long>(at), '\n'));
    }

    static std::string kept(fs::path const& file) {
        return "what was typed is kept in " + pathText(file.str());
    }

    int writeText(Context& context, fs::path const& file) const {
        std::vector<SettingsPtr> nodes;
        if (name_) {
            nodes.push_back(findNode(context.tree, *name_));
            context.tree.childrenOf(nodes.front());
            context.writing.begin(productOf(nodes.front()));
        } else {
            nodes = context.tree.products();
        }
        write(file, editableText(context.tree, nodes));
        return done;
    }

    /// Does what the text says other than the original.
    static int apply(Context& context, fs::path const& file, std::string const& original,
                     std::string const& text) {
        Writing::useLockWait();
        LineEdit edit(context, original, text);
        if (edit.refusals().empty()) edit.carryOut();
        if (edit.refusals().empty()) return done;
        MarkedText const marked = withReasons(text, edit.refusals());
        write(file, marked.text);
        for (auto const& [line, reason] : marked.reasons)
            complain((line == 0 ? "" : "line " + std::to_string(line) + ": ") + reason);
        return askAgain;
    }

    // --- The file ---

    int editFile(Context& context) const {
        std::string const product = productOf(findNode(context.tree, *name_));
        fs::path const file(context.directories.userFile(product));
        if (!fs::exists(file)) {
            throw Failure(nothingThere, pathText(file.str()) +
                                            " is not there, because the user has changed nothing "
                                            "of " +
                                            product);
        }
        unsigned long line = 0;
        for (Fault const& fault : context.tree.faults()) {
            if (line == 0 && fault.file == file.str()) line = fault.line;
        }
        runEditor(file.native(), line);
        checkAgain(file);
    }

    /// The tree of this process has the old content: another look is taken in its place.
    [[noreturn]] static void checkAgain(fs::path const& file) {
        std::vector<std::string> words = {"qbsettings", "--host-root",
                                          fs::path(settings::core::zenbarRootUStr()).native(),
                                          "check", file.native()};
        std::vector<char*> pointers;
        for (std::string& word : words)
            pointers.push_back(word.data());
        pointers.push_back(nullptr);
        ::execv("/proc/self/exe", pointers.data());
        throw Failure(std::string("the file cannot be checked: ") + std::strerror(errno));
    }

    std::optional<std::string> name_;
    bool file_ = false;
};

Registration<EditCommand> const editRegistration({26, "edit",
                                                  "Change what is set in $VISUAL or $EDITOR; with "
                                                  "--file, the user's file of a product, which is "
                                                  "checked",
                                                  "edit plotter"});

}  // namespace

}  // namespace qbsettings
