// The page of findings: what it calls wrong is told as it says, what it calls right is not.

#include <support/ProgramWorld.hpp>

namespace {

class FindingsPage : public qbtest::ProgramWorld {
protected:
    FindingsPage() : page_(qbtest::readFile(QB_SOURCE_DIR "/docs/findings.md")) {}

    /// The sections by their ids, in their order.
    std::vector<std::pair<std::string, std::string>> sections() const {
        std::vector<std::pair<std::string, std::string>> result;
        for (std::size_t at = page_.find("\n## "); at != std::string::npos;) {
            std::size_t const name = at + 4;
            std::size_t const end = page_.find('\n', name);
            at = page_.find("\n## ", end);
            result.emplace_back(page_.substr(name, end - name), page_.substr(end, at - end));
        }
        return result;
    }

    /// The example that `text` shows, in folders of its own; what is told of it.
    void expectTold(std::string const& world, std::string const& text,
                    std::string const& options) const {
        std::string told;
        std::string script = "mkdir -p " + world + "/user\n";
        for (std::size_t at = 0; (at = text.find("```", at)) != std::string::npos; at += 4) {
            std::string const before = text.substr(0, at);
            std::size_t const begin = text.find('\n', at) + 1;
            bool const isText = text.compare(at, 7, "```text") == 0;
            at = text.find("\n```\n", begin) + 1;
            std::string const block = text.substr(begin, at - begin);
            if (isText) {
                told = block;
                continue;
            }
            std::string file = "toolbox/plotter/plotter.settings";
            std::size_t const path = before.rfind("\n`");
            if (path != std::string::npos && before.compare(before.size() - 4, 4, "`:\n\n") == 0)
                file = before.substr(path + 2, before.size() - path - 6);
            if (block.rfind("<?xml", 0) == 0 || block.front() == '{') {
                script +=
                    "install -D /dev/stdin " + world + "/" + file + " <<'END'\n" + block + "END\n";
            } else {
                settingsFile(world + "/" + file, block);
            }
        }
        // What a killed process left is of an age.
        script += "find " + world + "/user -name 'temp0x*' -exec touch -d '2 days ago' {} +\n";
        ASSERT_EQ(run(script), "");
        expectSession("$ cd " + world + " && export SETTINGS_USERDIR=$PWD/user\n" +
                      "> (qbsettings --factory-dir toolbox check" + options +
                      " || true) | sed \"s,$PWD/,,g\"\n" + told);
    }

    std::string const page_;
};

TEST_F(FindingsPage, TellsWhatIsFoundAndHowItIsRight) {
    int count = 0;
    for (auto const& [id, text] : sections()) {
        std::size_t const wrong = text.find("*Wrong*\n");
        std::size_t const right = text.find("*Right*\n");
        if (id == "not-removed") continue;
        std::size_t const session = text.find("```console\n");
        if (session != std::string::npos) {
            std::size_t const begin = session + 11;
            std::string const shown = text.substr(begin, text.find("```", begin) - begin);
            std::string told = transcript(shown);
            for (std::size_t at = 0; (at = told.find("@/", at)) != std::string::npos;)
                told.replace(at, 2, "/home/ada/");
            if (told.size() > 4 && told.substr(told.size() - 4) == "[1]\n")
                told.resize(told.size() - 4);
            EXPECT_EQ(told, shown);
            continue;
        }
        ASSERT_LT(wrong, right) << id;
        ASSERT_NE(right, std::string::npos) << id;
        std::string const example = text.substr(wrong, right - wrong);
        EXPECT_NE(example.find(" [" + id + "]\n"), std::string::npos) << id;
        std::string const options = id == "texts-missing" ? " --strict" : "";
        expectTold("wrong/" + std::to_string(++count), example, options);
        expectTold("right/" + std::to_string(count), text.substr(right), options);
    }
    EXPECT_GT(count, 20);
}

/// The program's own list is that of the page, in the same order.
TEST_F(FindingsPage, HasEveryKind) {
    std::string ids;
    for (auto const& [id, text] : sections())
        ids += id + "\n";
    expectSession(
        R"($ qbsettings check --sarif | sed 's/"id":"/\n&/g' | sed -n 's/^"id":"\([^"]*\).*/\1/p'
)" + ids +
        R"()");
}

TEST_F(FindingsPage, ADocumentForCodeHostsHasEachFindingWithItsPlace) {
    settingsFile("factory/p/p.settings", "<key name=\"n\" visible=\"YES\"><int32/></key>\n");
    run("mv factory/p/p.settings 'factory/p/a b.settings'; "
        R"(echo '{"n": {"summary": "a"}}' >factory/p/p.texts.json)");
    expectSession(
        R"~($ cd factory && qbsettings check --sarif >report; echo $?; sed 's/.*"columnKind"/"columnKind"/' report
0
"columnKind":"unicodeCodePoints","results":[{"ruleId":"truth-word","ruleIndex":8,"level":"warning","message":{"text":"p.n: visible=\"YES\" counts as false; write \"true\""},"locations":[{"physicalLocation":{"artifactLocation":{"uri":"p/a%20b.settings","uriBaseId":"HERE"},"region":{"startLine":3,"startColumn":29}},"logicalLocations":[{"fullyQualifiedName":"p.n","kind":"member"}]}]}]}]}
$ cd user && qbsettings check --strict --sarif | grep -oE '"(level|uri)":"[^"]*"' | tail -n 2
"level":"error"
"uri":"file://@/factory/p/a%20b.settings"
[1]
$ qbsettings check --strict --json
[{"kind":"fault","file":"@/factory/p/a b.settings","line":3,"column":29,"message":"p.n: visible=\"YES\" counts as false; write \"true\"","code":"truth-word","key":"p.n"}]
[1]
)~");
}

TEST_F(FindingsPage, EveryFaultOfAFileIsTold) {
    settingsFile("factory/p/p.settings", R"(<key name="a">
<int32>
<value>x</value><metadata><min>y</min></metadata></int32></key>
<settings name="g" odd="1">
<key name="b"/>
<key name="ok"><string><value>a</value></string></key>
<settings name="h"><key name="c"><int8><value>300</value></int8></key></settings>
<oddity/>
<key name="B"><int8/></key>
<key name="B"><int8/></key>
</settings>
<additionalpath>missing</additionalpath>
)");
    settingsFile("twins", "<key name=\"B\"><int8/></key>\n<key name=\"B\"><bool/></key>\n");
    std::string keys;
    for (int i = 0; i < 120; ++i)
        keys += "<key name=\"k" + std::to_string(i) + "\"/>\n";
    settingsFile("many", keys);
    expectSession(R"($ qbsettings check
@/factory/p/p.settings:5:8: p.a: In a value of type int32, the text 'x' is not a legal int32. [refused-file]
@/factory/p/p.settings:5:32: p.a: In a value of type int32, the text 'y' is not a legal int32. [refused-file]
@/factory/p/p.settings:6:28: p.g: attribute 'odd' is not declared for element 'settings' [refused-file]
@/factory/p/p.settings:7:16: p.g.b: The key 'b' states no type, and is not declared to take any type. [refused-file]
@/factory/p/p.settings:9:47: p.g.h.c: bad numeric conversion: positive overflow [refused-file]
@/factory/p/p.settings:10:10: p.g: no declaration found for element 'oddity' [refused-file]
@/factory/p/p.settings:14:17: p: cannot open '@/factory/p/missing': No such file or directory [refused-file]
@/factory/p/p.settings:12:15: p.g.B: 'B' stands at 11:15 already: g already has a 'B' [refused-file]
[1]
$ qbsettings check twins
@/twins:4:22: twins.B: 'B' stands at 3:15 already: twins already has a 'B' [refused-file]
[1]
$ qbsettings check many | cut -d ' ' -f 2- | sed -n '1p;100p;101p'
many.k0: The key 'k0' states no type, and is not declared to take any type. [refused-file]
many.k99: The key 'k99' states no type, and is not declared to take any type. [refused-file]
there are more faults than these [refused-file]
[1]
)");
}

}  // namespace
