// The command line: help, wrong usage, places, and an output that fails.

#include "ProgramWorld.hpp"

using qbtest::failed;
using qbtest::Outcome;
using qbtest::printed;

namespace {

class UsageTest : public qbtest::ProgramWorld {
protected:
    UsageTest() { factoryFile("p", key("s", "string", "<value>x</value>")); }
};

TEST_F(UsageTest, HelpIsEverywhereAndHasAnExample) {
    for (std::string const command :
         {"", "list", "get", "set", "unset", "describe", "check", "dirs", "add", "add-group",
          "remove", "set-many", "export", "import", "make-factory"}) {
        std::vector<std::string> words = {"--help"};
        if (!command.empty()) words.insert(words.begin(), command);
        Outcome const result = run(words);
        EXPECT_EQ(result.status, 0) << command;
        EXPECT_EQ(result.err, "") << command;
        EXPECT_NE(result.out.find("Example: qbsettings " + command), std::string::npos) << result;
    }
    EXPECT_EQ(run({"--version"}).out.find("qbsettings 1."), 0U);
}

TEST_F(UsageTest, WrongUsageIsOneLine) {
    struct Case {
        std::vector<std::string> words;
        char const* message;
    };
    for (Case const& test : std::vector<Case>{
             {{}, "a command is missing; see 'qbsettings --help'"},
             {{"lst"}, "there is no command 'lst'; see 'qbsettings --help'"},
             {{"--bogus", "list"}, "there is no option '--bogus'; see 'qbsettings list --help'"},
             {{"get"}, "NAME is required; see 'qbsettings get --help'"},
             {{"get", "p.s", "p.t"}, "'p.t' is one word too many; see 'qbsettings get --help'"},
             {{"set", "p.s"}, "VALUE is required; see 'qbsettings set --help'"},
             {{"set", "p.s", "-draft"},
              "there is no option '-draft', and a value that begins with '-' goes behind '--'; "
              "see 'qbsettings set --help'"},
             {{"export", "p"}, "--to is required; see 'qbsettings export --help'"},
             {{"make-factory", "a", "--to", "b", "--version", "x"},
              "Could not convert: --version = x; see 'qbsettings make-factory --help'"},
         }) {
        EXPECT_EQ(run(test.words), failed(2, test.message));
    }
}

TEST_F(UsageTest, OptionsOfPlacesStandBeforeOrBehindTheCommand) {
    std::string const other = (folder() / "other").string();
    EXPECT_EQ(run({"--user-dir", other, "set", "p.s", "y"}), printed(""));
    EXPECT_EQ(run({"get", "p.s", "--user-dir", other}), printed("y\n"));
    EXPECT_EQ(run({"get", "p.s"}), printed("x\n"));
}

TEST_F(UsageTest, PlacesThatCannotServeAreOneLine) {
    environment().unset("SETTINGS_USERDIR");
    environment().set("ZENBAR_PREFDIR", "relative");
    EXPECT_EQ(run({"list"}), failed(1, "the preference directory 'relative' is not absolute"));
    environment().set("ZENBAR_PREFDIR", qbtest::writeFile(folder() / "f", "").string() + "/sub");
    Outcome const result = run({"list"});
    EXPECT_EQ(result.status, 1);
    std::string const last =
        "qbsettings: there is no directory for the user's settings, and none can be made; name "
        "one with --user-dir\n";
    ASSERT_GE(result.err.size(), last.size());
    EXPECT_EQ(result.err.substr(result.err.size() - last.size()), last);
    for (std::size_t at = 0; at < result.err.size(); at = result.err.find('\n', at) + 1) {
        EXPECT_EQ(result.err.compare(at, 12, "qbsettings: "), 0) << result;
    }
}

TEST_F(UsageTest, AnOutputThatCannotBeWrittenIsAFailure) {
    pid_t const child = ::fork();
    if (child == 0) {
        int const full = ::open("/dev/full", O_WRONLY);
        int const err = ::open((folder() / "full.err").c_str(), O_WRONLY | O_CREAT, 0600);
        ::dup2(full, 1);
        ::dup2(err, 2);
        ::execl(QB_SETTINGS_PROGRAM, QB_SETTINGS_PROGRAM, "list", nullptr);
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_EQ(qbtest::readFile(folder() / "full.err"),
              "qbsettings: standard output cannot be written to\n");
}

}  // namespace
