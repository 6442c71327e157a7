// Completion, typed at a shell on a terminal.

#include <support/ProgramWorld.hpp>

namespace {

class CompletionTest : public qbtest::ProgramWorld {
protected:
    CompletionTest() {
        settingsFile("factory/p/p.settings",
                     R"(<key name="flag"><bool><value>0</value></bool></key>
<key name="size"><string><value>A4</value><metadata><choices>A4</choices><choices>big one</choices><choices>big $5 "x"</choices></metadata></string></key>
<settings name="deep"><key name="down"><int8><value>1</value></int8></key></settings>)");
    }

    static bool isThere(std::string const& shell) {
        return std::system(("command -v " + shell + " >/dev/null").c_str()) == 0;
    }

    /// Types each line with "^" for the tabulator, and gives the words that the shell made of it.
    std::string typed(std::string const& start, std::string const& lines) const {
        std::string script = "cat >lines <<'END'\n" + lines + "END\n";
        // A shell reads its keys one by one, so that nothing is to be waited for but its start. The
        // line is printed by going to its begin.
        script += R"~(while read -r line; do
    printf "$(sed 's/%/%%/g;s/\^/\\t/g' <<<"$line")\001printf '<%%s>' \n"
done < <(sed 's/\\/\\\\/g' lines) >keys
printf 'echo fin""ished; exit\n' >>keys
rm -f seen
{ for i in {1..100}; do grep -q ready seen 2>/dev/null && break; sleep 0.1; done; cat keys; for i in {1..190}; do grep -q finished seen && break; sleep 0.1; done; } |
    TERM=dumb COLUMNS=400 timeout 20 script -qefc ')~" +
                  start + R"~(' seen >/dev/null
tr -d '\r' <seen | grep -o '<qbsettings>.*>' | sed 's/<qbsettings>//;s/ready.*//'
)~";
        return run(script);
    }
};

TEST_F(CompletionTest, OfBash) {
    if (!run("script -qec true /dev/null").empty()) GTEST_SKIP() << "no terminal can be had here";
    run("cat >rc <<'END'\nsource " QB_SOURCE_DIR
        "/packaging/completion/qbsettings.bash\nbind 'set bell-style none'\nPS1='ready '\nEND");
    EXPECT_EQ(typed("bash --rcfile rc -i", R"(qbsettings set p.si^ A^
qbsettings set p.size b^
qbsettings set p.size 'big o^
qbsettings set p.size "big o^
qbsettings set p.size big\ \$^
qbsettings set p.size big\ o^
qbsettings set "p.fl^ t^
qbsettings set p.flag --level u^ f^
qbsettings list --level f^
qbsettings unset p.de^do^ --level f^
qbsettings add p.x --type bo^
qbsettings add p.x --type array\ of\ bo^
qbsettings add p.x --type 'array of f^
qbsettings set p.size A4 --append b^one
qbsettings diff us^
)"),
              R"(<set><p.size><A4>
<set><p.size><big >
<set><p.size><big one>
<set><p.size><big one>
<set><p.size><big $5 "x">
<set><p.size><big one>
<set><p.flag><true>
<set><p.flag><--level><user><false>
<list><--level><factory>
<unset><p.deep.down><--level><f>
<add><p.x><--type><bool>
<add><p.x><--type><array of bool>
<add><p.x><--type><array of float>
<set><p.size><A4><--append><big one>
<diff><user>
)");
}

TEST_F(CompletionTest, OfZsh) {
    if (!isThere("zsh") || !run("script -qec true /dev/null").empty()) {
        GTEST_SKIP() << "no zsh or no terminal can be had here";
    }
    run("mkdir -p zd && cat >zd/.zshrc <<'END'\nfpath=(" QB_SOURCE_DIR
        "/packaging/completion $fpath)\nautoload -U compinit && compinit -u -d $PWD/dump\n"
        "bindkey -e\nunsetopt prompt_sp prompt_cr\nPS1='ready '\nEND");
    EXPECT_EQ(typed("env ZDOTDIR=$PWD/zd zsh -i", R"(qbsettings set p.si^ A^
qbsettings set p.size 'big o^
qbsettings set p.flag --level u^ f^
qbsettings add p.x --type array\ of\ bo^
qbsettings set "p.fl^ t^
)"),
              R"(<set><p.size><A4>
<set><p.size><big one>
<set><p.flag><--level><user><false>
<add><p.x><--type><array of bool>
<set><p.flag><true>
)");
}

}  // namespace
