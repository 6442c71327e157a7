#include <support/ProgramWorld.hpp>

using namespace qbtest;

namespace {

using FirstStarts = ProgramWorld;

TEST_F(FirstStarts, SeveralAtOnceLoseNothingOfTheOlderRelease) {
    for (int i = 1; i <= 6; ++i) {
        std::string const product = std::to_string(i).insert(0, 1, 'p');
        std::string const keys = R"(<key name="old"><int32><value>0</value></int32></key>)"
                                 R"(<key name="new"><int32><value>0</value></int32></key>)";
        settingsFile("factory/" + product + "/" + product + ".settings", keys);
        settingsFile("home/.zenbar/K7715q/" + product + ".settings",
                     R"(<key name="old"><int32><value>7</value></int32></key>)");
    }
    // Enough besides them for the copy to last.
    expectSession(R"($ unset SETTINGS_USERDIR; cd home/.zenbar/K7715q
> for i in {1..200}; do echo "$i" >"a$i"; done
> for i in {1..6}; do qbsettings set "p$i.new" "$i" & started+=($!); done
> for one in "${started[@]}"; do wait "$one" || echo failed; done
> qbsettings list | cut -f 1,3,4; ls -A ..; ls ../K7716p/a* | wc -l
p1.new→user→1
p1.old→user→7
p2.new→user→2
p2.old→user→7
p3.new→user→3
p3.old→user→7
p4.new→user→4
p4.old→user→7
p5.new→user→5
p5.old→user→7
p6.new→user→6
p6.old→user→7
K7715q
K7716p
200
)");
}

}  // namespace
