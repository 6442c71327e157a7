// Files of the user's choice, and files that cannot be read: export, import, make-factory, check.

#include <support/ProgramWorld.hpp>

namespace {

class FilesTest : public qbtest::ProgramWorld {
protected:
    FilesTest() {
        settingsFile(
            "factory/p/p.settings",
            R"(<key name="n"><int32><value>1</value><metadata><max>10</max></metadata></int32></key>
<key name="third"><double><value>0.3333333333333333</value></double></key>
<key name="fixed" readonly="true"><string><value>x</value></string></key>
<settings name="g"><key name="b"><bool><value>1</value></bool></key></settings>
)");
    }
};

TEST_F(FilesTest, AnExportComesBackAsItWasAndCanBecomeAFactoryFile) {
    expectSession(R"($ qbsettings set p.n 5
$ qbsettings export p --to a.settings && qbsettings export p --to b.settings && cmp a.settings b.settings
$ qbsettings --user-dir fresh import a.settings | paste -sd ';'
same→p.fixed→x;set→p.g.b→true;set→p.n→5;set→p.third→0.3333333333333333
$ diff <(qbsettings list p | cut -f 1,2,4) <(qbsettings --user-dir fresh list p | cut -f 1,2,4)
$ qbsettings export p.g p.n --level user --to c.settings && echo $(tail -n +3 c.settings)
<settings name="g"> <key name="b"> <bool> </bool> </key> </settings> <key name="n"> <int32> <value>5</value> </int32> </key> </settings>
$ mkdir -p made/p && qbsettings make-factory a.settings --to made/p/p.settings --version 12
$ qbsettings --factory-dir made --user-dir nobody describe p.n | grep -E 'force|version' | paste -sd ';'
in force→factory→5;version→12
)");
}

TEST_F(FilesTest, OutputsReplaceNothingUnlessForcedAndLeaveNothingBehind) {
    settingsFile("factory/q/q.settings", "");
    settingsFile("new.settings", "");
    expectSession("$ mkdir out && echo precious >out/a && chmod 640 out/a && cp -r out before\n");
    expectRefused(R"(export p --to out/a => 1 @/out/a already exists; use --force to replace it
export p q --to out/a --force => 1 a file holds one product, but 'p' and 'q' were named
make-factory out/a --to out/a --force => 1 @/out/a:1:1: invalid document structure
export p --to no/where => 1 @/no/where cannot be written: No such file or directory
export p --to out --force => 1 @/out cannot be written: Is a directory
import new.settings --level session => 3 there is no product 'new' that could take the values; one is made on the level 'user' alone
)");
    expectSession(R"($ diff -r before out
$ qbsettings export p --to out/a --force && qbsettings check out/a
$ echo $(ls -A out) $(stat -c %a out/a)
a 640
)");
}

TEST_F(FilesTest, AnImportTellsWhatCameAndWhatStayedAndComesWholeOrNotAtAll) {
    settingsFile("in/p.settings", R"(<key name="n"><int32><value>7</value></int32></key>
<key name="third"><double><value>2</value></double></key>
<key name="fresh"><string><value>a&#9;b</value></string></key>
<settings name="h"><key name="k"><int8><value>3</value></int8></key></settings>
)");
    settingsFile("bad/p.settings", R"(<key name="n"><int32><value>11</value></int32></key>
<key name="fixed"><string><value>y</value></string></key>
<key name="g"><bool><value>1</value></bool></key>
)");
    settingsFile(
        "any/p.settings",
        R"(<key name="a" anytype="true"><int8 maxArraySize="0"><value>1</value><value>2</value></int8></key>
)");
    expectSession(R"~($ qbsettings import bad/p.settings
! p.fixed: it is read-only
! p.g: it is a group here and a key in the file
! p.n: '11' is not allowed: it takes at most 10 (defined in @/factory/p/p.settings)
! nothing was imported
[1]
$ diff <(qbsettings import any/p.settings --dry-run 2>&1) <(qbsettings import any/p.settings 2>&1 | tee told) && cat told
qbsettings: nothing was imported: p.a: @/user/p.settings cannot be written: p.a takes values of any type, of which a file holds no arrays, which would not read back
$ qbsettings set p.n 5 && cp -r user before
$ mkdir tmp && TMPDIR=$PWD/tmp qbsettings import in/p.settings --dry-run >rows && diff -r before user && ls tmp
$ qbsettings import in/p.settings | diff rows - && cat rows
added→p.fresh→a\tb
added→p.h.k→3
kept→p.n→5
set→p.third→2
$ qbsettings import in/p.settings --into p.g | paste -sd ';'
added→p.g.fresh→a\tb;added→p.g.h.k→3;added→p.g.n→7;added→p.g.third→2
)~");
}

TEST_F(FilesTest, EveryFaultIsReportedWithItsPlace) {
    settingsFile("factory/bad/a\tb\nc.settings", "");
    settingsFile("factory/bad/a\tb.settings", "<oddity/>\n");
    expectSession(R"($ echo '<?xml version="1.0"?><settings name="p"' >cut
$ echo '<!DOCTYPE settings [<!ENTITY e SYSTEM "/etc/passwd">]><settings name="p">&e;</settings>' >entity
$ qbsettings check cut entity factory/p/p.settings | cut -d : -f 1-3
@/cut:2:1
@/entity:1:20
[1]
$ touch $'user/\xFF.settings' && qbsettings check | grep -v '^There is no'
@/factory/bad/a\tb\nc.settings:3:187: bad: the root element is named 'a b c', its product 'bad': The nodes should be the same, but they have different attributes' value. Cannot merge them. [wrong-root]
@/factory/bad/a\tb.settings:3:10: a b: no declaration found for element 'oddity' [refused-file]
[1]
$ qbsettings list 2>/dev/null | tail -n 1
p.third→double→factory→0.3333333333333333
[1]
)");
}

/// With the key, and with both names where two differ, whether a file is loaded or looked at.
TEST_F(FilesTest, AFaultIsToldWithTheKeyThatItIsIn) {
    std::string const good =
        "<key name=\"ok\"><string><value>a&#9;\"]]&gt;</value></string></key>\n";
    std::string const two = "<key name=\"k\"><string><value>a</value></string></key>\n";
    settingsFile("factory/a/a.settings",
                 good +
                     "<settings name=\"g\"><key name=\"k\"><int8 maxArraySize=\"3\">\n"
                     "<value>1</value>\n<value>300</value></int8></key></settings>\n" +
                     two);
    settingsFile("factory/b/b.settings", two + "<settings name=\"k\"/>\n" + good);
    settingsFile("factory/c/c.settings", two);
    settingsFile("factory/c/d.settings", "");
    settingsFile("factory/d/d.settings",
                 "<additionalpath>../more-parts/d.settings</additionalpath>\n<key "
                 "name=\"e\"><int32/></key>");
    settingsFile("factory/more-parts/d.settings",
                 "<key name=\"k\"><bool minArraySize=\"two\"/></key>\n");
    settingsFile("factory/e/e.settings",
                 good + "<key name=\"u\"><string><value>\xC3\xA9\xFF</value></string></key>\n");
    settingsFile("user/p.settings",
                 good + "<key name=\"n\"><int32><value>11</value></int32></key>\n");
    std::string const faults =
        R"(@/factory/a/a.settings:6:8: a.g.k: bad numeric conversion: positive overflow
@/factory/b/b.settings:4:21: b.k: 'k' stands at 3:15 already: The parent object contains a child with the same name already.
@/factory/c/d.settings:2:203: c: the root element is named 'd', its product 'c': The nodes should be the same, but they have different attributes' value. Cannot merge them.
@/factory/d/d.settings:3:17: d: @/factory/more-parts/d.settings:3:41: d.k: bad lexical cast: source type value could not be interpreted as target
@/factory/e/e.settings:4:31: invalid byte '�' at position 1 of a 6-byte sequence
)";
    expectSession(
        "$ qbsettings check | grep -v p.settings | sed 's/ \\[[a-z-]*\\]$//'\n" + faults +
        "[1]\n$ qbsettings check user/p.settings\n"
        R"(@/user/p.settings:4:29: p.n: The value passed in is not in the predefined range [refused-together]
@/user/p.settings:4:29: warning: p.n: '11' is not allowed: it takes at most 10 (defined in @/factory/p/p.settings); the whole file is ignored: change or remove the value here [refused-value]
[1]
$ (qbsettings list || true) 2>&1 >/dev/null | sed 's/^qbsettings: //' | grep -v user/p.settings
)" + faults +
        R"($ qbsettings import factory/a/a.settings
! @/factory/a/a.settings:6:8: a.g.k: bad numeric conversion: positive overflow
[1]
)");
}

TEST_F(FilesTest, WarnsOfWhatIsLegalAndWithoutEffect) {
    settingsFile("factory/w/w.settings",
                 R"(<additionalpath>parts/w.xml</additionalpath>
<key name="u"><uint32 undef="true"><metadata><min>+1</min><max>5</max><choices>-0</choices></metadata></uint32></key>
<key name="s"><string><value>R&amp;D</value><metadata><max>-1</max></metadata></string></key>
<settings name="g"><key name="k" readonly="true"><bool><value>False</value></bool></key></settings>
)");
    settingsFile("factory/w/parts/w.xml",
                 "<key name=\"m\"><bool><runtimedefault type='Lua'/></bool></key>\n");
    settingsFile("user/w.settings", R"(<key name="u"><uint32><value>6</value></uint32></key>
<key name="own"><int8><value>9</value><metadata><max>3</max></metadata></int8></key>
<settings name="g"><key name="k"><bool><value>1</value></bool></key></settings>
)");
    settingsFile("user/p.settings.rejected", "");
    expectSession(R"~($ qbsettings check
@/user/p.settings.rejected: warning: set aside because it could not be read when its product was saved; repair it and put it in place of p.settings, or delete it [kept-aside]
@/factory/w/w.settings:5:60: warning: w.s: '-1' counts as 4294967295; it takes a whole number from 0 to 4294967295 [misread-number]
@/factory/w/parts/w.xml:3:49: warning: w.m: 'runtimedefault' has no effect, because its type is "Lua"; the types are "C", "ZENBAR" and "JAVA" [function-type]
@/user/w.settings:4:49: warning: w.own: 'metadata' in a user file has no effect on a key of the factory's, and the next save drops it; declare ranges and choices in a factory file [user-metadata]
@/user/w.settings:3:30: warning: w.u: '6' is not allowed: it takes 1 to 5 or 0 (defined in @/factory/w/w.settings); the value here is in force anyway: change or remove it [refused-value]
@/user/w.settings:4:17: warning: w.own: no factory file declares it [undeclared-key]
@/user/w.settings:5:47: warning: w.g.k: it is read-only; the value here is in force anyway: change or remove it [refused-value]
$ qbsettings check user/w.settings --json | grep -oE '"(kind|line|code)":[^,}]*' | paste -sd ' '
"kind":"warning" "line":4 "code":"user-metadata" "kind":"warning" "line":3 "code":"refused-value" "kind":"warning" "line":4 "code":"undeclared-key" "kind":"warning" "line":5 "code":"refused-value"
)~");
}

TEST_F(FilesTest, WhatIsNeverReadIsFound) {
    settingsFile("factory/twice/twice.settings",
                 R"(<additionalpath>../shared-parts/twice.settings</additionalpath>
<key name="k"><int8><value>1</value></int8><string><value>a</value></string></key>
)");
    settingsFile("factory/shared-parts/twice.settings", "");
    settingsFile("factory/shared-parts/unused.settings", "");
    settingsFile("factory/stray.settings", "");
    settingsFile("factory/p/big.SETTINGS", "");
    for (char const* const file : {"factory/Q/Q.settings", "factory/q/q.settings"})
        settingsFile(file, "");
    settingsFile("user/p.Settings", "");
    settingsFile("user/TWICE.settings", "");
    settingsFile("factory/p/deep/er/p.settings", "");
    settingsFile("user/p.settings~", "");
    run("ln -s nothing factory/p/gone.settings && ln -s .. factory/p/deep/round");
    expectSession(R"~($ qbsettings check
@/factory/twice/twice.settings:4:21: warning: twice.k: it has more than one type element, of which the last counts; remove this one [repeated-type]
@/user/TWICE.settings: warning: is never read, because there is a product whose name differs only in case [never-read]
@/user/p.Settings: warning: is never read, because the extension of settings files is '.settings', in lower case [never-read]
@/user/p.settings~: warning: is never read, because the names of settings files end in '.settings' [never-read]
@/factory/stray.settings: warning: is never read, because the files of a product lie in a folder of its name [never-read]
@/factory/p/gone.settings: warning: is a link to nothing [never-read]
@/factory/p/deep/er/p.settings: warning: is never read, because folders in the folder of a product are not looked into, and no file names it in 'additionalpath' [never-read]
@/factory/p/big.SETTINGS: warning: is never read, because the extension of settings files is '.settings', in lower case [never-read]
@/factory/q/q.settings: warning: is never read, because there is a product 'Q', and product names may not differ only in case [never-read]
@/factory/shared-parts/unused.settings: warning: is never read, because 'shared-parts' is not read as a product, and no file names it in 'additionalpath' [never-read]
$ qbsettings check --json | grep -oE '"code":[^,}]*' | sort | uniq -c | sed 's/^ *//'
9 "code":"never-read"
1 "code":"repeated-type"
)~");
}

TEST_F(FilesTest, AUserFileIsNeverLostToASaveThatFailsOrToOneThatCouldNotReadIt) {
    std::string const fault =
        "! @/user/p.settings:1:20: no declaration found for element 'settings'\n";
    std::string const refused =
        fault +
        "! nothing was changed, because @/user/p.settings cannot be read as a whole; repair "
        "it, 'qbsettings edit --file p' opens it there, or set it aside with "
        "--replace-broken, and with it all that it holds\n[1]\n";
    settingsFile("in/p.settings", "<key name=\"z\"><int8><value>1</value></int8></key>");
    expectSession(
        "$ printf '<settings name=\"p\">the work' | tee work >user/p.settings\n"
        "$ qbsettings remove p\n" +
        fault +
        "! p was not removed, because that would delete @/user/p.settings, which could not "
        "be read; repair or move that file\n[1]\n"
        "$ qbsettings set p.n 3\n" +
        refused + "$ echo p.n = 3 | qbsettings set-many 2>&1 | tail -n 1\n" +
        "qbsettings: nothing was set\n[1]\n" + "$ qbsettings unset p.n\n" + refused +
        "$ qbsettings import in/p.settings --dry-run\n" + refused +
        "$ qbsettings set p.n 3 --level session\n" + fault +
        "$ cmp work user/p.settings && qbsettings unset p.n --replace-broken\n" + fault +
        "! p.n: it has no value on the level 'user'\n[3]\n"
        "$ qbsettings import in/p.settings --dry-run --replace-broken\nadded→p.z→1\n" +
        fault + "$ ls user && qbsettings set p.n 3 --replace-broken\np.settings\n" + fault +
        "! @/user/p.settings could not be read and was set aside as "
        "@/user/p.settings.rejected; what it held is no longer in force\n");
    expectSession(R"($ cmp work user/p.settings.rejected && qbsettings get p.n
3
$ (trap '' XFSZ && ulimit -f 0 && qbsettings set p.n 4 2>&1) | cat
qbsettings: p.n: @/user/p.settings cannot be written: File too large
[1]
$ echo $(qbsettings get p.n) $(ls user)
3 p.settings p.settings.rejected
)");
}

TEST_F(FilesTest, ABrokenUserFileIsOpenedAtItsFaultAndCheckedAgain) {
    settingsFile(
        "user/p.settings",
        "<key name=\"g\"><int32/></key>\n<key name=\"n\"><int32><value>3</value></int32></key>");
    expectSession(R"($ printf '#!/bin/sh\necho "$@"\n' >vi && cp vi other
$ chmod +x vi other && VISUAL= EDITOR="$PWD/vi -x" qbsettings edit --file p 2>/dev/null
-x +3 @/user/p.settings
@/user/p.settings:3:15: p.g: it is a key here and a group in the other files: The nodes should be the same, but they have different attributes' value. Cannot merge them. [refused-together]
[1]
$ (VISUAL=$PWD/other qbsettings edit --file p 2>/dev/null || true) | grep -v :
@/user/p.settings
$ echo "sed -i 's/\"g\"/\"own\"/'" '"$@"' >other && VISUAL=./other qbsettings edit --file p 2>/dev/null
> qbsettings get p.n
@/user/p.settings:3:17: warning: p.own: no factory file declares it [undeclared-key]
3
$ EDITOR=false qbsettings edit --file p
! the editor 'false' failed
[1]
$ qbsettings --user-dir none edit --file p
! @/none/p.settings is not there, because the user has changed nothing of p
[3]
)");
}

}  // namespace
