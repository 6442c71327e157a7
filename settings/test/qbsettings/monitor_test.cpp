// What the program does beside other processes: it follows them, and leaves nothing of its own.

#include <support/ProgramWorld.hpp>

namespace {

class BesideOthers : public qbtest::ProductWorld {};

TEST_F(BesideOthers, MonitorShowsWhatIsChangedAsItHappens) {
    // A set that is seen tells that the monitors look on.
    expectSession(R"($ qbsettings monitor >rows & all=$!
> qbsettings monitor p.list p.flag p.byte --json >documents & some=$!
> byte=3
> until [[ -s rows && -s documents ]]; do qbsettings set p.byte $((byte ^= 1)); sleep 0.1; done
> shows() { for i in {1..1000}; do ! grep -qF -e "$2" "$1" || return 0; sleep 0.01; done; cat "$1"; }
> qbsettings set p.real 2 && shows rows p.real
> qbsettings set p.list a b && shows rows 'a, b' && shows documents p.list
> qbsettings add-group own && qbsettings add own.k --type int32 5 && shows rows own.k
> qbsettings set own.k 6 && shows rows 6
> qbsettings unset p.real && shows rows 0.7
> qbsettings remove own.k && shows rows $'own.k\tremoved'
> qbsettings remove own && shows rows $'own\tremoved'
> qbsettings set p.flag true && shows rows p.flag && shows documents p.flag
> kill $all $some; wait $all || echo $?; wait $some || echo $?
> grep -v byte rows; grep -v byte documents; ls -A user
143
143
p.real→changed→user→2
p.list→changed→user→a, b
own→added→-→
own.k→added→user→5
own.k→changed→user→6
p.real→changed→factory→0.7
own.k→removed→-→
own→removed→-→
p.flag→changed→user→true
{"name":"p.list","change":"changed","level":"user","value":["a","b"]}
{"name":"p.flag","change":"changed","level":"user","value":true}
.qbsettings.lock
p.settings
$ qbsettings monitor p.nothing
! there is no setting 'p.nothing'
[3]
)");
}

TEST_F(BesideOthers, MonitorTellsOfAFileOnceAndEndsWithItsReader) {
    expectSession(R"($ qbsettings set p.byte 2 && qbsettings monitor >rows 2>messages & all=$!
> until [[ -s rows ]]; do qbsettings set p.byte $((byte ^= 1)); sleep 0.1; done
> sed 's/<int8/<intx/' user/p.settings >broken && cp user/p.settings good && mv broken user/p.settings
> until [[ -s messages ]]; do sleep 0.01; done; touch user/other; sleep 0.3
> sed 's/<value>.*</<value>9</' good >new && mv new user/p.settings
> until grep -q 9 rows; do sleep 0.01; done
> kill $all; wait $all || grep -c p.settings messages; tail -n 1 rows
> rm user/other
1
p.byte→changed→user→9
$ (set -o pipefail; timeout 60 qbsettings monitor | head -n 1; echo $?) >first & reader=$!
> until [[ -s first ]]; do qbsettings set p.byte $((byte ^= 1)); sleep 0.1; done; wait $reader
> sed 's/[01]$/N/' first
p.byte→changed→user→N
N
)");
}

/// Most of the time of the command that is ended passes in saves.
TEST_F(BesideOthers, EndedAtAnyMomentItLeavesNoTemporaryFolder) {
    expectSession(
        R"($ qbsettings add-group own && for k in {1..30}; do echo "own.k$k = $k"; done >lines
> qbsettings add own.k0 --type int32 0 && sed 's/>0</>1</' user/own.settings >one
> for k in {1..30}; do sed -n '/<key/,/<.key>/p' one | sed "s/k0/k$k/"; done >keys
> sed -i '/<.settings>/{
> r keys
> N
> }' one; sed '/<.settings>/d' one >user/own.settings; echo '</settings>' >>user/own.settings
> qbsettings list own | wc -l
> for round in {1..40}; do
>   qbsettings set-many lines
>   signal=$((round % 2 ? 2 : 15)) && status=0
>   timeout --preserve-status -s $signal 0.$(printf %03d $((10 + RANDOM % 90))) \
>     qbsettings unset own --all --yes || status=$?
>   ((status == 0 || status == 128 + signal)) || echo "status $status"
>   ls -A user | grep temp || ((ended += status != 0)) || true
> done
> ((ended > 3)) || echo "only $ended of 40 were ended"
31
)");
}

TEST_F(BesideOthers, CheckTellsOfWhatKilledProcessesLeftAndRemovesIt) {
    expectSession(
        R"($ cd user && mkdir temp0x12ab34cd0x1 temp0x12ab34cd0x2 temp0x1 temporary temp0xfedcba980x12345678
> touch temp0x12ab34cd0x1/p.settings && touch -d '25 hours ago' temp0x1 temporary temp0x12ab34cd0x1 temp0xfedcba980x12345678
$ qbsettings check --clean p.settings
! --clean is for the user directory, so without files
[2]
$ qbsettings check
@/user/temp0x12ab34cd0x1: warning: left by a process that was killed while it saved; 'check --clean' removes it [left-over]
@/user/temp0xfedcba980x12345678: warning: left by a process that was killed while it saved; 'check --clean' removes it [left-over]
$ qbsettings check --clean --json
[{"kind":"warning","file":"@/user/temp0x12ab34cd0x1","line":null,"column":null,"message":"was left by a process that was killed while it saved, and is removed now","code":"left-over","key":null},{"kind":"warning","file":"@/user/temp0xfedcba980x12345678","line":null,"column":null,"message":"was left by a process that was killed while it saved, and is removed now","code":"left-over","key":null}]
$ qbsettings check && ls user
temp0x1
temp0x12ab34cd0x2
temporary
)");
}

}  // namespace
