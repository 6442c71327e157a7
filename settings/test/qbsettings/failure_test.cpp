// Commands that fail midway: what they leave in the files is what they say.

#include <support/ProgramWorld.hpp>

namespace {

class FailureTest : public qbtest::ProgramWorld {
protected:
    FailureTest() {
        std::string const keys = R"(<key name="n"><int32><value>1</value></int32></key>
<key name="t"><string><value>x</value></string></key>
)";
        for (char const* const product : {"p", "q"}) {
            settingsFile(std::string("factory/") + product + "/" + product + ".settings", keys);
        }
    }
    static std::string longText() { return std::string(1200, 'y'); }
};

/// The folder can be written to but not opened, so that it cannot be synced when the new file is in
/// its place.
TEST_F(FailureTest, AChangeThatMayNotOutliveAPowerFailureIsSaidToBeThere) {
    if (!run("plain true").empty()) GTEST_SKIP() << "root cannot be bound by permissions here";
    settingsFile("in/p.settings", R"(<key name="n"><int32><value>7</value></int32></key>
<key name="z"><int32><value>7</value></int32></key>
)");
    std::string const message =
        "@/user/p.settings cannot be written: Permission denied; the file holds the change "
        "anyway, but a power failure can still undo it\n[1]\n";
    std::string const list =
        "$ chmod 700 user && qbsettings list p | cut -f 1,3,4 | paste -sd ';' && chmod 300 user\n";
    expectSession("$ chmod 300 user && plain qbsettings set p.n 3\n! p.n: " + message + list +
                  "p.n→user→3;p.t→factory→x\n"
                  "$ plain qbsettings unset p.n\n! p.n: " +
                  message + "$ plain qbsettings add p.g --type int32 3\n! p.g: " + message + list +
                  "p.g→user→3;p.n→factory→1;p.t→factory→x\n"
                  "$ plain qbsettings remove p.g\n! p.g: " +
                  message + "$ plain qbsettings import in/p.settings\n! " + message + list +
                  "p.n→user→7;p.t→factory→x;p.z→user→7\n"
                  "$ printf 'p.n = 9\\nq.n = 8' | plain qbsettings set-many\n"
                  "! @/user/p.settings cannot be written: Permission denied\n"
                  "! saved: p, q\n[1]\n" +
                  list + "p.n→user→9;p.t→factory→x;p.z→user→7\n");
    expectSession("$ plain qbsettings add-group new\n! new: @/user/new" +
                  message.substr(message.find(".settings")) +
                  "$ chmod 700 user && ls user\nnew.settings\np.settings\nq.settings\n");
}

TEST_F(FailureTest, WhatStoppedMidwayIsReportedByName) {
    settingsFile("in/p.settings", "<key name=\"n\"><int32><value>77</value></int32></key>\n" +
                                      ("<key name=\"t\"><string><value>" + longText()) +
                                      "</value></string></key>\n<key name=\"z\"><int8/></key>\n");
    std::string const full = "(trap '' XFSZ && ulimit -f 1 && qbsettings ";
    expectSession(
        "$ (printf 'p.n = 5\\nq.n = 4\\nq.t = %01200d\\np.t = z' 0) >lines\n"
        "$ qbsettings set p.t old\n"
        "$ " +
        full + R"~(set-many lines 2>&1) | cat
qbsettings: q: @/user/q.settings cannot be written: File too large
qbsettings: saved: p; not saved: q
[1]
$ grep -hE '<value>' user/* | paste -sd ' ' | sed 's/  */ /g'
 <value>5</value> <value><![CDATA[z]]></value>
$ )~" + full +
        R"~(set-many - <<<"q.t = $(printf %01200d 0)" 2>&1) | cat
qbsettings: q: @/user/q.settings cannot be written: File too large
qbsettings: nothing was set
[1]
$ )~" + full +
        R"~(import in/p.settings --replace --dry-run 2>&1) | cat
qbsettings: nothing was imported: p: @/user/p.settings cannot be written: File too large
[1]
$ )~" + full +
        R"~(import in/p.settings --replace 2>&1) | cat
qbsettings: nothing was imported: p: @/user/p.settings cannot be written: File too large
[1]
)~");
}

TEST_F(FailureTest, ALockThatIsNotHadEndsTheCommandAndALinkIsNotFollowed) {
    expectSession(
        R"~($ flock -F user/.qbsettings.lock sh -c 'touch held && exec sleep 60' &
> until [[ -e held ]]; do sleep 0.01; done
> unnamed() { sed -E "s/process $! .[a-z]+./P/;s/another process/P/"; }
> QBSETTINGS_LOCK_WAIT=0 qbsettings set p.n 3 2>&1 | unnamed
> (echo p.n = 3; echo p.t = 3) | QBSETTINGS_LOCK_WAIT=0 qbsettings set-many 2>&1 | unnamed
> qbsettings get p.n && qbsettings set --level session p.n 7
> timeout -s INT 1 qbsettings set p.n 5; echo $? && qbsettings list p --changed
> kill $! && wait $! || qbsettings set p.n 4 && qbsettings get p.n
qbsettings: p.n: @/user/p.settings cannot be written: the lock file @/user/.qbsettings.lock is held by P, which did not release it within 0 ms
qbsettings: p: @/user/p.settings cannot be written: the lock file @/user/.qbsettings.lock is held by P, which did not release it within 0 ms
qbsettings: nothing was set
1
124
4
)~");
    expectSession(R"($ rm user/.qbsettings.lock && ln -s ../made user/.qbsettings.lock
$ qbsettings set p.n 3
! p.n: @/user/p.settings cannot be written: the lock file @/user/.qbsettings.lock is not a regular file
[1]
$ rm user/.qbsettings.lock && mkfifo user/.qbsettings.lock && timeout 20 qbsettings set p.n 3
! p.n: @/user/p.settings cannot be written: the lock file @/user/.qbsettings.lock is not a regular file
[1]
$ rm user/.qbsettings.lock && QBSETTINGS_LOCK_WAIT=long qbsettings set p.n 3
! QBSETTINGS_LOCK_WAIT takes a number of seconds, not 'long'
[2]
$ ls -A . user | grep -E 'made|lock' || qbsettings get p.n
4
)");
}

TEST_F(FailureTest, WhatCannotBeListedIsNotTakenForEmpty) {
    if (!run("plain true").empty()) GTEST_SKIP() << "root cannot be bound by permissions here";
    expectSession(R"($ mkdir lines && qbsettings set-many lines
! lines cannot be read: Is a directory
[1]
$ qbsettings set-many - <lines
! standard input cannot be read: Is a directory
[1]
$ chmod 000 factory/p && plain qbsettings list
q.n→int32→factory→1
q.t→string→factory→x
! @/factory/p: cannot be listed: Permission denied
[1]
$ plain qbsettings get p.n
! @/factory/p: cannot be listed: Permission denied
! there may be a setting 'p.n' in a folder that cannot be listed
[1]
$ chmod 000 factory && plain qbsettings check
@/factory: cannot be listed: Permission denied [unreadable]
[1]
$ plain qbsettings list
! @/factory: cannot be listed: Permission denied
[1]
)");
}

TEST_F(FailureTest, AProductThatIsThereButCouldNotBeListedIsNotReplaced) {
    if (!run("plain true").empty()) GTEST_SKIP() << "root cannot be bound by permissions here";
    settingsFile("user/mine.settings", "<key name=\"k\"><int32><value>1</value></int32></key>");
    settingsFile("mine.settings", "<key name=\"l\"><int32><value>2</value></int32></key>");
    settingsFile("new.settings", "<key name=\"l\"><int32><value>2</value></int32></key>");
    std::string const refusal =
        "! @/user/mine.settings is there already, but was not found when its folder was listed; "
        "nothing was changed\n[1]\n";
    expectSession(
        "$ cp user/mine.settings before; chmod 311 user\n$ plain qbsettings add-group mine\n" +
        refusal + "$ plain qbsettings import mine.settings\n" + refusal +
        "$ plain qbsettings import --dry-run mine.settings\n" + refusal +
        "$ cmp user/mine.settings before\n");
}

#ifndef __SANITIZE_ADDRESS__  // Which needs descriptors of its own.
TEST_F(FailureTest, WithoutDescriptorsNothingIsTakenForMissing) {
    expectSession(R"($ (exec 3>&- 4>&- 5>&- 6>&- 7>&-; ulimit -n 4 && qbsettings set p.n 3)
! p.n: @/user/p.settings cannot be written: Too many open files
[1]
$ ls user
)");
}
#endif

}  // namespace
