#include <sys/auxv.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/prefdir/PreferencesDirectory.hpp>

namespace qbsettings {

namespace {

namespace fs = qf::filesystem;

std::string editor() {
    for (char const* const name : {"VISUAL", "EDITOR"}) {
        char const* const text = std::getenv(name);
        if (text && *text) return text;
    }
    return "vi";
}

/// What an editor is told to open a file at a line: there is more than one custom.
std::vector<std::string> placeFor(std::string const& command, std::string const& file,
                                  unsigned long line) {
    static std::set<std::string> const byPlus = {"vi",    "vim",         "nvim", "nano", "pico",
                                                 "emacs", "emacsclient", "joe",  "mg",   "ne"};
    static std::set<std::string> const byColon = {"subl", "zed", "hx", "micro"};
    std::string const program = command.substr(0, command.find(' '));
    std::string const name = program.substr(program.rfind('/') + 1);
    std::string const number = std::to_string(line);
    if (line == 0) return {file};
    if (byPlus.count(name) != 0) return {"+" + number, file};
    if (byColon.count(name) != 0) return {file + ":" + number};
    if (name == "code" || name == "codium") return {"--goto", file + ":" + number};
    return {file};
}

std::vector<char*> pointersTo(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// Runs the editor, whose command may have arguments of its own, to its end.
void run(std::string const& command, std::vector<std::string> const& arguments) {
    std::vector<std::string> words = {"/bin/sh", "-c", command + " \"$@\"", command};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> const pointers = pointersTo(words);
    ::pid_t const child = ::fork();
    if (child == 0) {
        ::execv(pointers.front(), pointers.data());
        ::_exit(127);
    }
    int status = 0;
    while (child > 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (child < 0) throw Failure("the editor cannot be run: " + std::string(std::strerror(errno)));
    if (status != 0) throw Failure("the editor " + inQuotes(command) + " failed");
}

/// `edit`: the user's file of a product in an editor.
class EditCommand : public Command {
public:
    void declare(Options& options) override {
        options.name(name_, "Product");
        options.flag("--file", file_, "Open the product's user file itself, at its first fault");
    }

    int run(Context& context) override {
        if (!file_) {
            throw Failure(wrongUsage,
                          "--file is missing, which opens the user's file of the product");
        }
        if (::getauxval(AT_SECURE) != 0) {
            throw Failure("with more rights than its caller's, the program starts no editor");
        }
        std::string const product = productOf(findNode(context.tree, name_));
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
        std::string const command = editor();
        qbsettings::run(command, placeFor(command, file.native(), line));
        checkAgain(file);
    }

private:
    /// The tree of this process has the old content: another look is taken in its place.
    [[noreturn]] static void checkAgain(fs::path const& file) {
        std::vector<std::string> words = {"qbsettings", "--host-root",
                                          fs::path(settings::core::zenbarRootUStr()).native(),
                                          "check", file.native()};
        ::execv("/proc/self/exe", pointersTo(words).data());
        throw Failure(std::string("the file cannot be checked: ") + std::strerror(errno));
    }

    std::string name_;
    bool file_ = false;
};

Registration<EditCommand> const editRegistration(
    {26, "edit",
     "Open the user's file of a product in $VISUAL or $EDITOR, at its first fault, and "
     "check it",
     "edit --file plotter"});

}  // namespace

}  // namespace qbsettings
