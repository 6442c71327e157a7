// Levels, files and folders compared.

#include <support/ProgramWorld.hpp>

namespace {

/// The product with nothing whose default fails.
class DiffTest : public qbtest::ProductWorld {
protected:
    DiffTest() {
        settingsFile("factory/q/q.settings",
                     R"(<key name="size"><int32><value>3</value></int32></key>
<key name="open" anytype="true"><int16><value>1</value></int16></key>
<key name="names"><string minArraySize="0" maxArraySize="0"><value>x</value></string></key>
<key name="wrong"><int32><runtimedefault type='C' packagename='defaults' functionname='giveString'/></int32></key>)");
    }
};

TEST_F(DiffTest, AnOlderFolderAgainstAnotherAndAgainstTheStore) {
    expectSession(R"~($ qbsettings set q.size 4 && qbsettings set p.real 2 && cp -r user old
$ qbsettings diff old user && qbsettings diff ./user old --json
[]
$ qbsettings set q.names a && qbsettings set q.size 5 && qbsettings unset p.real
$ qbsettings diff old ./user
removed→p.real→2→
added→q.names→→a
changed→q.size→4→5
[1]
$ qbsettings diff old
changed→p.real→2→0.7
added→q.names→→a
changed→q.size→4→5
[1]
$ qbsettings diff user old --json
[{"change":"changed","name":"p.real","before":0.7,"after":2},{"change":"removed","name":"q.names","before":["a"],"after":null},{"change":"changed","name":"q.size","before":5,"after":4}]
[1]
$ qbsettings diff factory old
changed→p.real→0.7→2
changed→q.size→3→4
[1]
)~");
}

TEST_F(DiffTest, AnExportAgainstItsProductAlone) {
    expectSession(R"~($ qbsettings set q.size 4 && qbsettings set q.open --type string 1
$ qbsettings set p.real 2 && qbsettings export q.size q.open --to q.settings
$ qbsettings diff q.settings && qbsettings set q.names a
$ qbsettings set q.open --type int32 1 && qbsettings add q.mine --type bool true
$ qbsettings diff q.settings
added→q.mine→→true
added→q.names→→a
changed→q.open→1→1
[1]
$ qbsettings diff q.settings factory
changed→q.open→1→1
changed→q.size→4→3
[1]
)~");
}

TEST_F(DiffTest, WhatCannotBeComparedIsNoDifference) {
    expectSession(R"~($ qbsettings set q.size 4 && cp -r user old
$ qbsettings diff
changed→q.size→3→4
! p.wrong: The value has the wrong type: the setting holds int32, the value given is string.
! q.wrong: The value has the wrong type: the setting holds int32, the value given is string.
[2]
$ sed -i 's/int32/int33/' old/q.settings && qbsettings diff old 2>&1 | grep -o 'old/q.settings:[0-9]*'
old/q.settings:10
[2]
$ qbsettings diff usr
! there is no level, file or folder 'usr'; did you mean 'user'?
[3]
$ mkdir bad && printf x >bad/q.settings && qbsettings diff --user-dir bad ./user 2>/dev/null
changed→q.size→4→3
[2]
)~");
}

}  // namespace
