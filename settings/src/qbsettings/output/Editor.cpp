#include <qbsettings/output/Editor.hpp>

#include <sys/auxv.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <set>
#include <vector>

#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>

namespace qbsettings {

namespace {

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

/// Keeps what is typed for the editor, such as an interrupt, from ending the program.
class DeafToTerminal {
public:
    DeafToTerminal() {
        struct ::sigaction ignoring {};
        ignoring.sa_handler = SIG_IGN;
        ::sigaction(SIGINT, &ignoring, &interrupt_);
        ::sigaction(SIGQUIT, &ignoring, &quit_);
    }
    ~DeafToTerminal() { restore(); }
    DeafToTerminal(DeafToTerminal const&) = delete;
    DeafToTerminal& operator=(DeafToTerminal const&) = delete;

    void restore() const {
        ::sigaction(SIGINT, &interrupt_, nullptr);
        ::sigaction(SIGQUIT, &quit_, nullptr);
    }

private:
    struct ::sigaction interrupt_ {};
    struct ::sigaction quit_ {};
};

}  // namespace

void runEditor(std::string const& file, unsigned long line) {
    if (::getauxval(AT_SECURE) != 0) {
        throw Failure("with more rights than its caller's, the program starts no editor");
    }
    std::string const command = editor();
    // The command may have arguments of its own.
    std::vector<std::string> words = {"/bin/sh", "-c", command + " \"$@\"", command};
    for (std::string const& word : placeFor(command, file, line))
        words.push_back(word);
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    DeafToTerminal const deaf;
    ::pid_t const child = ::fork();
    if (child == 0) {
        deaf.restore();
        ::execv(pointers.front(), pointers.data());
        ::_exit(127);
    }
    int status = 0;
    while (child > 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (child < 0) throw Failure("the editor cannot be run: " + std::string(std::strerror(errno)));
    if (status != 0) throw Failure("the editor " + inQuotes(command) + " failed");
}

}  // namespace qbsettings
