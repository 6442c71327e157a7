// The command line: names, help, wrong usage, places, JSON.

#include <support/ProgramWorld.hpp>

namespace {

using UsageTest = qbtest::ProductWorld;

TEST_F(UsageTest, WhatIsNotACommandIsReportedInOneLine) {
    expectRefused(
        R"(get p.loked.don => 3 there is no setting 'p.loked.don'; did you mean 'p.locked.down'?
get $'p.a\nb' => 3 there is no setting 'p.a\nb'
get p.locked => 1 'p.locked' is a group, not a key; 'qbsettings list' shows the keys in it
list p.flag >/dev/full => 1 cannot write to standard output
get p.real --level top => 2 there is no level 'top'; the levels are session, user, factory
get p.unset => 3 p.unset: it has no value
get p.real --level user => 3 p.real: it has no value on the level 'user'
lst p => 2 there is no command 'lst'; did you mean 'list'? See 'qbsettings --help'
help st => 2 there is no command 'st'; did you mean 'set'? See 'qbsettings --help'
set p.flag => 2 a VALUE is missing, or --empty for an array without elements; see 'qbsettings set --help'
=> 2 a command is missing; see 'qbsettings --help'
get => 2 NAME is required; see 'qbsettings get --help'
set p.s -draft => 2 there is no option '-draft', and a value that begins with '-' goes after '--'; see 'qbsettings set --help'
make-factory a --to b --version x => 2 Could not convert: --version = x; see 'qbsettings make-factory --help'
)");
}

TEST_F(UsageTest, TellsThePlacesInForceAndThoseThatCannotServe) {
    expectSession(R"($ qbsettings --factory-dir f dirs --user-dir u --host-root h | paste -sd ';'
factory→@/f;workgroup→-;user→@/u;host→@/h
$ SETTINGS_USERDIR= ZENBAR_PREFDIR=relative qbsettings list
! the preference directory 'relative' is not absolute
[1]
$ SETTINGS_USERDIR= ZENBAR_PREFDIR=/dev/null/sub qbsettings list 2>&1 | tail -n 1
qbsettings: there is no directory for the user's settings, and none can be created; name one with --user-dir
[1]
)");
}

TEST_F(UsageTest, ATerminalGetsColumnsColoursAndProgress) {
    for (int i = 10; i < 31; ++i)
        settingsFile("user/k" + std::to_string(i) + ".settings", "");
    if (!run("script -qec true /dev/null").empty()) GTEST_SKIP() << "no terminal can be had here";
    expectSession(
        R"($ terminal() { script -qec "$1" /dev/null | sed 's/\x1b/ESC/g;s/ *\r$//'; }
> NO_COLOR= TERM=xterm terminal 'qbsettings list p 2>/dev/null' | grep -E 'unset|computed|real'
> TERM=xterm terminal 'qbsettings describe p.real' | grep -E 'name|elements|user|force'
> NO_COLOR=1 TERM=xterm terminal 'qbsettings list p.real'
p.computed     double           ESC[35mruntime:factoryESC[0m  2.5
p.real         double           ESC[36mfactoryESC[0m          0.7
p.unset        int64            ESC[2m-ESC[0m
name             p.real
elements         exactly 1 value
user             ESC[2m-ESC[0m
in force         ESC[36mfactoryESC[0m  0.7
p.real  double  factory  0.7
$ TERM=xterm script -qec 'qbsettings --quiet check; qbsettings list | cat; qbsettings check' /dev/null | tr '\r\33' '\n^' >screen
> grep reading screen; tail -n 2 screen && echo
^[Kchecking product 22 of 22
^[K
)");
}

TEST_F(UsageTest, SpeaksJsonAndCompletesNames) {
    settingsFile("q", "<key name=\"n\"><int8 maxArraySize=\"0\"><value>3</value></int8></key>");
    expectSession(
        R"~($ qbsettings set p.real 2 && qbsettings get p.text --json
{"name":"p.text","type":"string","value":"a\tb\\c\nd"}
$ qbsettings get p.computed --level user --json
{"name":"p.computed","type":"double","value":null}
! p.computed: it has no value on the level 'user'
[3]
$ qbsettings describe p.real --json && qbsettings describe p.locked --json
{"name":"p.real","kind":"key","texts":null,"type":"double","elements":{"least":1,"most":1},"range":{"least":0.5,"most":8},"choices":[],"validator":null,"runtimeDefault":null,"session":{"source":null,"value":null},"user":{"source":"user","value":2},"factory":{"source":"factory","value":0.7},"inForce":{"source":"user","value":2},"readOnly":false,"visible":true,"version":4}
{"name":"p.locked","kind":"group","texts":null,"readOnly":true,"visible":false,"version":4,"validator":null,"children":[{"kind":"key","name":"down"}]}
$ qbsettings import q --json
{"changes":[{"change":"added","name":"q.n","value":[3]}],"refused":[]}
$ printf 'p.flag = 1\np.list = ["\\u0001"]' | qbsettings set-many --json 2>/dev/null
{"set":[],"refused":[{"line":2,"message":"p.list: '\u0001' holds U+0001, which no settings file can hold (defined in @/factory/p/p.settings)"}]}
[1]
$ touch $'user/\xFF.settings' && echo $(qbsettings complete)
p. q. �.
$ qbsettings complete $'\xFF' && SETTINGS_USERDIR= ZENBAR_PREFDIR=relative qbsettings complete p
)~");
}

TEST_F(UsageTest, CommandsThatWriteSpeakJsonOrNothing) {
    expectSession(
        R"~($ qbsettings add-group q --json && qbsettings add q.n --type int8 3 --json
{"added":"q"}
{"added":"q.n"}
$ qbsettings unset q.n --json && qbsettings remove q.n --json
{"removed":["q.n"]}
{"removed":["q.n"]}
$ qbsettings set p.real 2 && qbsettings export p.real --to out --json
{"written":"out"}
$ qbsettings make-factory out --to made --json && qbsettings generate made.settings --json 2>&1 | grep -c cannot
{"written":"made"}
1
[1]
$ qbsettings generate ./made --json | grep -o '^{"header":"//'
{"header":"//
$ qbsettings --quiet get p.real && qbsettings list p.real --quiet --json && qbsettings set p.flag YES --quiet
$ qbsettings get --quiet p.unset
! p.unset: it has no value
[3]
$ qbsettings diff out --quiet
[1]
)~");
}

TEST_F(UsageTest, SaysWhereItLookedForProductsAndWhichOneHidesAnother) {
    settingsFile("factory/P/P.settings", "");
    expectSession(
        R"($ qbsettings list P && qbsettings list >/dev/null
! @/factory/p is not read, because there is a product 'P', and product names may not differ only in case
$ qbsettings check
@/factory/p/p.settings: warning: is never read, because there is a product 'P', and product names may not differ only in case [never-read]
$ SETTINGS_FACTORYDIR=$PWD/none qbsettings list
! there are no products in @/none and in @/user; 'qbsettings new-product' makes one
)");
}

TEST_F(UsageTest, MakesAProductToStartFrom) {
    expectSession(R"($ unset SETTINGS_FACTORYDIR QBHOST_ROOT
> qbsettings new-product sketch root && qbsettings --host-root root list
@/root/settings/src/settingscore/settings.xsd
@/root/toolbox/sketch/sketch.settings
Try: qbsettings --host-root @/root list sketch
sketch.files.recent→array of string→factory→
sketch.mode→string→factory→fast
sketch.width→double→factory→0.5
$ qbsettings --host-root root check && qbsettings new-product other root --json
{"made":["@/root/toolbox/other/other.settings"]}
$ qbsettings new-product SKETCH root
! there is a product 'sketch' in @/root/toolbox already
[1]
$ qbsettings new-product 2 root
! '2' is not a legal name: a letter, then letters, digits and '_', at most 63, and not a reserved word of the host's language
[1]
$ cmp root/settings/src/settingscore/settings.xsd )" QB_SOURCE_DIR
                  "/settings/src/settingscore/settings.xsd\n");
}

/// The documents' examples run on the example products.
class ExamplesTest : public qbtest::ProgramWorld {
protected:
    ExamplesTest() {
        run("rm -r factory && cp -r " QB_SOURCE_DIR "/settings/examples/toolbox factory");
    }
};

/// As a session, with the build in the place of the one that the documents name; nothing fails.
TEST_F(ExamplesTest, OfTheReadmeAndTheManualPageRun) {
    std::string const readme = qbtest::readFile(QB_SOURCE_DIR "/README.md");
    std::string const page = qbtest::readFile(QB_SOURCE_DIR "/packaging/qbsettings.1");
    std::string script = "shopt -s expand_aliases\nset -e\n";
    int commands = 0;
    auto const take = [&](std::string const& text, std::string const& mark) {
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            if (line.compare(0, mark.size(), mark) != 0) continue;
            ++commands;
            bool const isRefused = line.find(" 1000") != std::string::npos ||
                                   line.find("lineWidth 99") != std::string::npos;
            script += (isRefused ? "! " : "") + line.substr(mark.size()) + "\n";
        }
    };
    take(readme, "    $ ");
    script += "unset SETTINGS_FACTORYDIR SETTINGS_USERDIR\n";
    take(page, "$ ");
    auto const put = [&script](std::string const& theirs, std::string const& ours) {
        for (std::size_t at = 0; (at = script.find(theirs, at)) != std::string::npos;
             at += ours.size())
            script.replace(at, theirs.size(), ours);
    };
    put("$PWD/build/default/", QB_BUILD_DIR "/");
    put("$PWD/settings", QB_SOURCE_DIR "/settings");
    put("/tmp/mysettings", "$PWD/user");
    put("/usr/share/qbsettings/examples", QB_SOURCE_DIR "/settings/examples");
    put("\\en", "\\n");
    EXPECT_GT(commands, 12);
    std::string const told = run(script + "echo whole\n");
    EXPECT_NE(told.find("\nwhole\n"), std::string::npos) << told;
    EXPECT_EQ(told.find("cannot be"), std::string::npos) << told;
}

TEST_F(ExamplesTest, OfTheHelpRun) {
    expectSession(
        R"~($ qbsettings help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z-]*\) .*/\1/p' >commands
> for c in $(cat commands)
> do qbsettings help $c | sed -n "s/^Example: /$c /p"
> done >examples && diff commands <(cut -d ' ' -f 1 examples)
$ printf 'plotter.lineWidth = 0.7\n' >changes.txt && export EDITOR='sed -i s/0.7/0.6/'
> cp factory/editor/editor.settings mine.settings
> cp factory/plotter/palettes.settings plotter.settings
> export QBHOST_LIBRARY_PATH=)~" QB_BUILD_DIR R"~(/settings/examples/lib
> cut -d ' ' -f 2- examples | sed 's/--to plotter.s/--force &/;s/.* monitor .*/timeout 1 & || (($? == 124))/' >script
> bash -e script >told && tail -n 1 told
Try: qbsettings --host-root @/sketches list sketch
)~" + std::string());
}

/// What a manual shows happens so.
class ManualTest : public ExamplesTest, public ::testing::WithParamInterface<char const*> {};

TEST_P(ManualTest, IsTrue) {
    std::istringstream manual(
        qbtest::readFile(std::string(QB_SOURCE_DIR "/docs/") + GetParam() + ".md"));
    std::string shown;
    bool isSession = false;
    for (std::string line; std::getline(manual, line);) {
        if (line.rfind("```", 0) == 0) {
            isSession = line == "```console";
        } else if (isSession) {
            shown += line + "\n";
        }
    }
    std::string told = transcript(shown);
    auto const put = [&told](std::string const& ours, std::string const& theirs) {
        for (std::size_t at = 0; (at = told.find(ours, at)) != std::string::npos;)
            told.replace(at, ours.size(), theirs);
    };
    put("\n! ", "\nqbsettings: ");
    for (char const* const status : {"\n[1]\n", "\n[3]\n"})
        put(status, "\n");
    put("→", "\t");
    put("@/factory", "/opt/host/toolbox");
    put("@/", "/home/ada/");
    put(QB_SOURCE_DIR "\n", "/opt/host\n");
    EXPECT_EQ(told, shown);
    EXPECT_FALSE(shown.empty());
}
INSTANTIATE_TEST_SUITE_P(All, ManualTest, ::testing::Values("qbsettings", "texts"));

}  // namespace
