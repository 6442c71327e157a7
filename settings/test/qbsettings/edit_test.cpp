// What is set, changed in an editor.

#include <support/ProgramWorld.hpp>

namespace {

class EditTest : public qbtest::ProductWorld {
protected:
    EditTest() {
        run("mkdir tmp && qbsettings set-many <<'END'\np.real = 2\np.list = [\"a\", \"b c\"]\n"
            "p.text = \" x\\\"\\n\"\np.open = -4\np.byte = 3\nEND");
    }

    /// Runs behind an editor that is the script; texts that are kept have a name of their own.
    void expectEdit(std::string const& editor, std::string const& session) const {
        run("cat >ed <<'END'\n" + editor + "\nEND\nchmod +x ed");
        expectSession("$ export TMPDIR=$PWD/tmp EDITOR=$PWD/ed VISUAL=\n" + session);
    }
};

TEST_F(EditTest, ShowsWhatIsSetAndTakesItBackAsItIs) {
    expectEdit("cat $1 | tail -n +4 >shown; sed -i 's/ = /=/;s/^#.*//' $1", R"~(> cp -r user before
> qbsettings edit && diff -r before user && ls tmp && cat shown

# int8, at least -20 or -100; default 1
p.byte = 3

# array of string, at least 1 value; default ["x"]
p.list = ["a", "b c"]

# any; default -4
p.open = -4

# double, 0.5 to 8; default 0.7
p.real = 2

# string, a length of at most 12; default "a\tb\\c\nd"
p.text = " x\"\n"
! nothing was changed
)~");
}

TEST_F(EditTest, DoesWhatWasChangedAndLeavesTheRestToOthers) {
    expectEdit(
        "sed -i '/p.byte/d;s/p.real = 2/p.real = 3/' $1; echo 'p.list = [\"q\"]' >>$1\n"
        "qbsettings set p.open 7",
        R"(> qbsettings edit p && qbsettings get p.real p.byte p.list p.open && ls tmp
set→p.real→3
set→p.list→q
unset→p.byte→1
p.real→3
p.byte→1
p.list→q
p.open→7
)");
    expectEdit("echo 'p.flag = true' >>$1", R"(> qbsettings edit p.flag --json
[{"change":"set","name":"p.flag","value":true}]
)");
    expectEdit(": >$1", R"(> qbsettings edit p --json
[]
! nothing was changed
)");
}

TEST_F(EditTest, NothingTypedIsLostAndNothingDoneByHalves) {
    std::string const named = "2>&1 | sed 's/[^/]*.conf/NAME/'";
    expectEdit("sed -i 's/real = 2/real = 99/;s/byte = 3/byte = 4/' $1; echo oddity >>$1",
               "> cp -r user before; qbsettings edit p " + named + R"(
> diff -r before user; grep -A 1 '^#!' tmp/*
qbsettings: line 16: p.real: '99' is not allowed: it takes 0.5 to 8 (defined in @/factory/p/p.settings)
qbsettings: line 21: a line is written as NAME = VALUE
qbsettings: nothing was changed; what was typed is kept in @/tmp/NAME
#! p.real: '99' is not allowed: it takes 0.5 to 8 (defined in @/factory/p/p.settings)
p.real = 99
--
#! a line is written as NAME = VALUE
oddity
)");
    expectEdit("echo 'p.real = 4' >>$1; exit 1", "> rm tmp/*; qbsettings edit p " + named + R"(
> tail -n 1 tmp/* && rm tmp/*; EDITOR=false qbsettings edit; ls tmp
qbsettings: the editor '@/ed' failed; what was typed is kept in @/tmp/NAME
p.real = 4
! the editor 'false' failed
)");
}

TEST_F(EditTest, APersonIsAskedAgain) {
    if (!run("script -qec true /dev/null").empty()) GTEST_SKIP() << "no terminal can be had here";
    expectEdit(
        "grep -q '#!' $1 && sed -i 's/99/5/' $1 || sed -i 's/real = 2/real = 99/' $1",
        R"(> script -qec 'qbsettings edit p' /dev/null | tr -d '\r' && qbsettings get p.real && ls tmp
qbsettings: line 16: p.real: '99' is not allowed: it takes 0.5 to 8 (defined in @/factory/p/p.settings)
set  p.real  5
5
)");
}

}  // namespace
