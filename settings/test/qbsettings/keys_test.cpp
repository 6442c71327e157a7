// Keys shown and changed, one and many at once.

#include <support/ProgramWorld.hpp>

namespace {

using KeysTest = qbtest::ProductWorld;

TEST_F(KeysTest, ShowsValuesAndTheLevelThatSuppliesThem) {
    expectSession(R"($ qbsettings list
p.byte→int8→factory→1
p.checked→float→factory→0.1
p.computed→double→runtime:factory→2.5
p.flag→bool→factory→false
p.list→array of string→factory→x
p.locked.down→bool→factory→true
p.none→array of int32→factory→
p.open→any→factory→-4
p.pair→array of uint8→factory→200, 7
p.paper→string→factory→A4
p.real→double→factory→0.7
p.text→string→factory→a\tb\\c\nd
p.unset→int64→-→
p.wrong→int32→runtime:factory→
! p.wrong: The value has the wrong type: the setting holds int32, the value given is string.
[1]
$ qbsettings describe p.computed | grep -E 'default|force' | paste -sd ';'
runtime default→C defaults giveDouble on factory;in force→runtime:factory→2.5
)");
}

TEST_F(KeysTest, StoresWhatIsTypedForOtherProcesses) {
    expectSession(R"~($ qbsettings set p.real 7.000000000000001 && qbsettings set p.byte -- -100
$ qbsettings set p.pair 255 0 && qbsettings set p.flag true && qbsettings set p.text '{}'
$ qbsettings set p.list '[draft]' set '' ']]><&>"' $' \tx\n\xC3\xA9\xF0\x9F\x98\x80' -7 -- --level
$ qbsettings set p.open --type string seven && qbsettings set p.open eight
$ grep user <(qbsettings list p 2>/dev/null) | cut -f 1,4 | paste -sd ';'
p.byte→-100;p.flag→true;p.list→[draft], set, , ]]><&>",  \tx\né😀, -7, --level;p.open→eight;p.pair→255, 0;p.real→7.000000000000001;p.text→{}
$ qbsettings set p.text '' && qbsettings get p.text --level user

$ qbsettings unset p.text && qbsettings get p.text
a→b\c
d
)~");
}

TEST_F(KeysTest, RefusalsSayWhatIsAllowedAndChangeNothing) {
    expectSession("$ qbsettings set p.real 2 && cp -r user before\n");
    expectRefused(
        R"~(set p.real 9 => 1 p.real: '9' is not allowed: it takes 0.5 to 8 (defined in @/factory/p/p.settings)
set p.real 1,5 => 1 p.real: '1,5' is not a double: it takes a number (defined in @/factory/p/p.settings)
set p.byte -21 => 1 p.byte: '-21' is not allowed: it takes at least -20 or -100 (defined in @/factory/p/p.settings)
set p.text 'much too long a text' => 1 p.text: 'much too long a text' is not allowed: it takes a length of at most 12 (defined in @/factory/p/p.settings)
set p.text $'a\rb' => 1 p.text: 'a\x0db' holds U+000D, which no settings file can hold (defined in @/factory/p/p.settings)
set p.text $'a\xFFz' => 1 'a\xffz' is not UTF-8
set $'p.te\xFFxt' a => 1 'p.te\xffxt' is not UTF-8
set p.paper A3 => 1 p.paper: it is read-only
set p.checked 4 => 1 p.checked: '4' is refused by refuse of checks: the check says no (defined in @/factory/p/p.settings)
set p.real 1 --level factory => 1 p.real: the level 'factory' cannot be changed; 'user' and 'session' can
set p.wrong 4 => 1 p.wrong: the value was not stored, because the default below it fails: The value has the wrong type: the setting holds int32, the value given is string.
--user-dir .script set p.real 2 => 1 p.real: @/.script/p.settings cannot be written: the lock file @/.script/.qbsettings.lock cannot be opened: Not a directory
add p.real --type int32 => 1 p.real: p already has a 'real'
add p.1x --type int32 => 1 '1x' is not a legal name: a letter, then letters, digits and '_', at most 63, and not a reserved word of the host's language
add-group P => 1 P: there is already a product 'p', and product names may not differ only in case
add p.locked.x --type int32 => 1 p.locked.x: the group 'p.locked' is read-only: nothing in it can be added, removed or unset
add p.x --type strnig => 2 there is no type 'strnig'; did you mean 'string'? The types are string, bool, int8, uint8, int16, uint16, int32, uint32, int64, uint64, float, double, 'array of' each, and any
set p.open --type any 1 => 2 there is no type 'any'; the types are string, bool, int8, uint8, int16, uint16, int32, uint32, int64, uint64, float, double, and 'array of' each
set p.pair 3 -1 => 1 p.pair: '-1' is not a uint8: it takes a whole number from 0 to 255 (defined in @/factory/p/p.settings)
add p.x --type uint64 -1 => 1 p.x: '-1' is not a uint64: it takes a whole number from 0 to 18446744073709551615
set p.real 1 2 => 1 p.real: 2 values were given, it takes exactly 1 value (defined in @/factory/p/p.settings)
set p.real --empty => 1 p.real: 0 values were given, it takes exactly 1 value (defined in @/factory/p/p.settings)
set p.pair 3 => 1 p.pair: 1 value was given, it takes exactly 2 values (defined in @/factory/p/p.settings)
set p.open 3 4 => 1 p.open: 2 values were given, it takes exactly 1 value, because no file holds an array of a key of type any (defined in @/factory/p/p.settings)
set p.list x --empty => 2 --empty and a VALUE exclude each other; see 'qbsettings set --help'
unset p.flag => 3 p.flag: it has no value on the level 'user'
)~");
    expectSession(R"($ qbsettings set p.real 3 --level session && diff -r before user
$ qbsettings set p.none 3 4 && qbsettings set p.none --empty && qbsettings get p.none --json
{"name":"p.none","type":"array of int32","value":[]}
)");
}

TEST_F(KeysTest, AValueIsEditedWhereItIs) {
    expectSession(R"~($ qbsettings set p.list y 'a b' --append && qbsettings set p.list --insert 1 z
x
y
a b
x
z
y
a b
$ qbsettings set p.list --remove y x && qbsettings set p.list '["[1]", "a"]' --json
z
a b
$ qbsettings get p.list --json && qbsettings set p.flag --toggle && qbsettings set p.flag OFF
{"name":"p.list","type":"array of string","value":["[1]","a"]}
true
false
$ qbsettings set p.real --add 0.1 && qbsettings set p.byte --add -3 && qbsettings set p.flag on
0.8
-2
true
)~");
    expectRefused(
        R"~(set p.list --remove x => 3 p.list: it has no element 'x'
set p.list --insert 3 x => 1 p.list: it has 2 elements, so that --insert takes 0 to 2
set p.list '["a"]' => 1 p.list: '["a"]' looks like a JSON array: give the elements one by one, or --json
set p.real --append 1 => 1 p.real: it is no array: its type is double
set p.byte --add 130 => 1 p.byte: '128' is not an int8: it takes a whole number from -128 to 127 (defined in @/factory/p/p.settings)
set p.real --add 9 => 1 p.real: '9.8' is not allowed: it takes 0.5 to 8 (defined in @/factory/p/p.settings)
set p.unset --add 1 => 1 p.unset: it has no value to add to
set p.real --toggle => 1 p.real: --toggle is for keys of type bool that have a value
set p.list x --append --remove => 2 --json, --empty, --append, --remove, --insert, --toggle and --add exclude each other; see 'qbsettings set --help'
)~");
    expectSession(
        R"~($ qbsettings add p.big --type uint64 18446744073709551614 && qbsettings set p.big --add 1
18446744073709551615
$ qbsettings set p.big --add 1
! p.big: '999999999999999999999' is not a uint64: it takes a whole number from 0 to 18446744073709551615 (defined in @/factory/p/p.settings)
[1]
)~");
}

TEST_F(KeysTest, WhatWasChangedIsFoundAndPutBack) {
    std::string const quiet = "2>/dev/null || true";
    expectSession(
        "$ qbsettings set p.real 2 && qbsettings set p.list a b && qbsettings set p.byte 1\n"
        "$ qbsettings list p --changed " +
        quiet + R"~(
p.list→array of string→user→a, b→x
p.real→double→user→2→0.7
$ qbsettings list --changed --json p.real && qbsettings list p.list p.real --level factory --long
[{"name":"p.real","type":"double","level":"user","value":2,"factory":0.7}]
p.list→array of string→factory→x→at least 1 value→-→-
p.real→double→factory→0.7→0.5 to 8→-→-
$ qbsettings list --depth 1 && qbsettings list p --depth 1 2>/dev/null | grep lock
p→group→-→
p.locked→group→-→
[1]
$ (qbsettings find a4 2>&1; qbsettings find REAL p 2>&1) | grep -v wrong
p.paper→string→factory→A4
p.real→double→user→2
$ qbsettings get p.real p.list && qbsettings get p.real p.byte --json
p.real→2
p.list→a, b
[{"name":"p.real","type":"double","value":2},{"name":"p.byte","type":"int8","value":1}]
$ qbsettings describe p.real p.locked | grep -E '^$|^name' && qbsettings describe p.real p.byte --json | grep -o '"name":"[a-z.]*"'
name→p.real

name→p.locked
"name":"p.real"
"name":"p.byte"
$ cp -r user before && qbsettings unset p.real p.flag
! p.flag: it has no value on the level 'user'
[3]
$ qbsettings unset p
! 'p' is a group, not a key; --all removes all values in it
[1]
$ echo n | script -qec 'qbsettings unset --all p' /dev/null | tr -d '\r' | tail -n 4 && diff -r before user
p.byte = 1
p.list = a, b
p.real = 2
Remove 3 values? [y/N] qbsettings: nothing was removed
[1]
$ qbsettings unset p.real p.byte && qbsettings list p --level user && qbsettings unset p --all --yes
p.list→array of string→user→a, b
$ qbsettings unset p --all
! there is no value on the level 'user' below p
[3]
$ qbsettings get Real
! there is no setting 'Real'; did you mean 'p.real'?
[3]
$ qbsettings get comptued
! there is no setting 'comptued'; did you mean 'p.computed'?
[3]
$ qbsettings get p/real
! there is no setting 'p/real'; did you mean 'p.real'?
[3]
)~");
}

TEST_F(KeysTest, ProgramsThatWriteAtOnceLoseNothing) {
    expectSession(R"($ qbsettings add-group busy && export QBSETTINGS_LOCK_WAIT=100
> for i in {10..21}
> do qbsettings add busy.k$i --type int32 $i &
> done
> wait
$ echo $(qbsettings list busy | cut -f 3,4)
user 10 user 11 user 12 user 13 user 14 user 15 user 16 user 17 user 18 user 19 user 20 user 21
)");
}

TEST_F(KeysTest, SetsManyKeysOrReportsEveryRefusedLineAndSetsNone) {
    expectSession(R"~($ qbsettings set-many <<'END'
>   p.list=["a", " \t\u00e9\n", 7]
> p.real = 1
> p.real = 2
> END
$ printf '\np.text = a = "b"\r\np.flag = 1' >more && qbsettings set-many more
$ grep user <(qbsettings list p 2>/dev/null) | cut -f 4 | paste -sd ';'
true;a,  \té\n, 7;2;a = "b"
$ cp -r user before && sed 's/BYTE/\xFF/' <<'END' | qbsettings set-many
> p.real = 3
> p.real = 11
> nonsense
> p.list = []
> p.text = "\ud800"
> p.text = BYTE
> p.list = a, b
> END
! line 2: p.real: '11' is not allowed: it takes 0.5 to 8 (defined in @/factory/p/p.settings)
! line 3: a line is written as NAME = VALUE
! line 4: p.list: 0 values were given, it takes at least 1 value (defined in @/factory/p/p.settings)
! line 5: p.text: the JSON is broken at character 8; a text in double quotes is a JSON string, with \" and \\ for these two
! line 6: the line is not UTF-8
! line 7: p.list: 'a, b' is no array: an array is written as [1, 2] or ["a", "b"]
! nothing was set
[1]
$ diff -r before user
)~");
}

/// The ends of ranges, and numbers that lose bits in a text that is too short.
TEST_F(KeysTest, ValuesComeBackToTheLastBitWhateverTheLocale) {
    std::string const round = R"(qbsettings set-many changes
> sed 's/"//g' changes >wanted
> qbsettings list all | sed -E 's/\t.*\tuser\t/ = [/;s/$/]/' | diff wanted -
)";
    expectSession(R"($ qbsettings add-group all
$ for type in bool double float int8 int64 string uint64
> do qbsettings add all.${type}s --type "array of $type"
> done
$ cat >changes <<'END'
> all.bools = [true, false]
> all.doubles = [1.7976931348623157e+308, 5e-324, 0.30000000000000004, 1234567.891, "nan"]
> all.floats = [3.4028235e+38, 1e-45, 0.1, "-0", "inf"]
> all.int64s = [-9223372036854775808, 9223372036854775807]
> all.int8s = [-128, 127]
> all.strings = ["1,5 € ]]>", "a\\b", ""]
> all.uint64s = [18446744073709551615, 9007199254740993]
> END
$ )" + round + "$ cp -r user before\n");
    if (!run("localedef -i de_DE -f UTF-8 ./de_DE.UTF-8 2>/dev/null").empty()) {
        GTEST_SKIP() << "no locale with a decimal comma can be made here";
    }
    expectSession("$ LOCPATH=$PWD LC_ALL=de_DE.UTF-8 sh <<'END'\n> " + round +
                  R"(> diff -r before user
> /usr/bin/printf '%.1f\n' 0,5
> END
0,5
)");
}

}  // namespace
