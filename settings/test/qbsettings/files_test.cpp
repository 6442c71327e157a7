// Files of the user's choice: export, import, make-factory.

#include "ProgramWorld.hpp"

using qbtest::failed;
using qbtest::Outcome;
using qbtest::printed;

namespace {

class FilesTest : public qbtest::ProgramWorld {
protected:
    FilesTest() {
        factoryFile("p",
                    key("n", "int32", "<value>1</value><metadata><max>10</max></metadata>") +
                        key("third", "double", "<value>0.3333333333333333</value>") +
                        key("fixed", "string", "<value>x</value>", "", " readonly=\"true\"") +
                        "<settings name=\"g\" visible=\"true\">" +
                        key("b", "bool", "<value>1</value>") + "</settings>\n",
                    "visible=\"true\" version=\"4\" ");
    }
    std::string file(char const* name) const { return (folder() / name).string(); }
    /// Names of what is in the folder of the outputs, the temporary files among them.
    std::size_t entries(std::filesystem::path const& directory) const {
        return qbtest::readTree(directory).size();
    }
};

TEST_F(FilesTest, ExportsAreRepeatableAndComeBackAsTheyWere) {
    run({"set", "p.n", "5"});
    ASSERT_EQ(run({"export", "p", "--to", file("a.settings")}), printed(""));
    ASSERT_EQ(run({"export", "p", "--to", file("b.settings")}), printed(""));
    EXPECT_EQ(qbtest::readFile(file("a.settings")), qbtest::readFile(file("b.settings")));
    Outcome const before = run({"list", "p"});

    std::string const fresh = file("fresh");
    EXPECT_EQ(run({"--user-dir", fresh, "import", file("a.settings")}),
              printed("same\tp.fixed\tx\nset\tp.g.b\ttrue\nset\tp.n\t5\n"
                      "set\tp.third\t0.3333333333333333\n"));
    EXPECT_EQ(run({"--user-dir", fresh, "get", "p.third", "--level", "user"}),
              printed("0.3333333333333333\n"));
    EXPECT_EQ(run({"--user-dir", fresh, "get", "p.n"}), printed("5\n"));
    EXPECT_EQ(run({"list", "p"}), before);
}

TEST_F(FilesTest, ExportsTheLevelAndTheBranchesThatWereNamed) {
    run({"set", "p.n", "5"});
    ASSERT_EQ(run({"export", "p.g", "p.n", "--level", "user", "--to", file("a.settings")}),
              printed(""));
    EXPECT_EQ(qbtest::readFile(file("a.settings")),
              xml("p",
                  "    <settings name=\"g\" visible=\"true\">\n"
                  "        <key name=\"b\" visible=\"true\">\n"
                  "            <bool>\n            </bool>\n        </key>\n    </settings>\n"
                  "    <key name=\"n\" visible=\"true\">\n"
                  "        <int32>\n            <value>5</value>\n        </int32>\n    </key>\n",
                  "visible=\"true\" version=\"4\" "));
}

TEST_F(FilesTest, OutputsReplaceNothingUnlessForcedAndLeaveNothingBehind) {
    std::filesystem::create_directories(folder() / "out");
    std::string const target = file("out/a.settings");
    qbtest::writeFile(target, "precious");
    factoryFile("q", key("n", "int32", "<value>1</value>"));
    std::string const source = (factoryDir() / "q/q.settings").string();
    struct Case {
        std::vector<std::string> words;
        int status;
        std::string message;
    };
    for (Case const& test : std::vector<Case>{
             {{"export", "p", "--to", target},
              1,
              "@/out/a.settings is there already; --force replaces it"},
             {{"make-factory", source, "--to", target},
              1,
              "@/out/a.settings is there already; --force replaces it"},
             {{"export", "p", "q", "--to", target, "--force"},
              1,
              "one file takes one product, and 'p' and 'q' were named"},
             {{"export", "p", "--to", target, "--force", "--level", "x"},
              2,
              "there is no level 'x'; the levels are session, user, factory"},
             {{"export", "p.nope", "--to", target, "--force"}, 3, "there is no setting 'p.nope'"},
             {{"make-factory", target, "--to", target, "--force"},
              1,
              "@/out/a.settings:1:1: invalid document structure"},
             {{"export", "p", "--to", file("no/where")},
              1,
              "@/no/where cannot be written: No such file or directory"},
             {{"export", "p", "--to", file("out"), "--force"},
              1,
              "@/out cannot be written: Is a directory"},
         }) {
        EXPECT_EQ(run(test.words), failed(test.status, test.message)) << test.message;
        EXPECT_EQ(qbtest::readFile(target), "precious") << test.message;
        EXPECT_EQ(entries(folder() / "out"), 1U) << test.message;
    }
    std::filesystem::permissions(target, std::filesystem::perms(0640));
    EXPECT_EQ(run({"export", "p", "--to", target, "--force"}), printed(""));
    EXPECT_EQ(run({"check", target}), printed(""));
    EXPECT_EQ(std::filesystem::status(target).permissions(), std::filesystem::perms(0640));
    EXPECT_EQ(entries(folder() / "out"), 1U);
}

TEST_F(FilesTest, ImportTellsWhatCameAndWhatStayed) {
    run({"set", "p.n", "5"});
    std::string const source = file("in.settings");
    qbtest::writeFile(source, xml("p", key("n", "int32", "<value>7</value>") +
                                           key("third", "double", "<value>2</value>") +
                                           key("fresh", "string", "<value>a&#9;b</value>") +
                                           "<settings name=\"h\">" +
                                           key("k", "int8", "<value>3</value>") + "</settings>\n"));
    std::string const rows =
        "added\tp.fresh\ta\\tb\nadded\tp.h.k\t3\nkept\tp.n\t5\nset\tp.third\t2\n";
    std::string const before = qbtest::readFile(userFile("p"));
    EXPECT_EQ(run({"import", source, "--dry-run"}), printed(rows));
    EXPECT_EQ(qbtest::readFile(userFile("p")), before);
    EXPECT_EQ(run({"import", source}), printed(rows));
    EXPECT_EQ(run({"get", "p.n"}), printed("5\n"));
    EXPECT_EQ(run({"get", "p.h.k", "--level", "user"}), printed("3\n"));
    EXPECT_EQ(
        run({"import", source, "--replace"}),
        printed("same\tp.fresh\ta\\tb\nsame\tp.h.k\t3\nreplaced\tp.n\t7\nsame\tp.third\t2\n"));
    EXPECT_EQ(run({"get", "p.n"}), printed("7\n"));
    EXPECT_EQ(run({"import", source, "--into", "p.g"}),
              printed("added\tp.g.fresh\ta\\tb\nadded\tp.g.h.k\t3\nadded\tp.g.n\t7\n"
                      "added\tp.g.third\t2\n"));
    EXPECT_EQ(run({"get", "p.g.n"}), printed("7\n"));
}

TEST_F(FilesTest, AnImportComesWholeOrNotAtAll) {
    std::string const source = file("in.settings");
    qbtest::writeFile(source, xml("p", key("n", "int32", "<value>11</value>") +
                                           key("fixed", "string", "<value>y</value>") +
                                           key("g", "bool", "<value>1</value>") +
                                           key("third", "double", "<value>2</value>")));
    EXPECT_EQ(run({"import", source}),
              (Outcome{1, "",
                       "qbsettings: p.fixed: it is read-only\n"
                       "qbsettings: p.g: it is a group here and a key in the file\n"
                       "qbsettings: p.n: '11' is not allowed: it takes at most 10 (defined in "
                       "@/factory/p/p.settings)\n"
                       "qbsettings: nothing was imported\n"}));
    EXPECT_FALSE(std::filesystem::exists(userFile("p")));
    EXPECT_EQ(run({"import", file("missing")}),
              failed(1, "@/missing: cannot open '@/missing': No such file or directory"));
}

TEST_F(FilesTest, AProductThatIsNotThereIsMadeByAnImport) {
    std::string const source = file("in.settings");
    qbtest::writeFile(source, xml("fresh", key("n", "int32", "<value>1</value>"),
                                  "visible=\"true\" version=\"9\" "));
    EXPECT_EQ(run({"import", source, "--level", "session"}),
              failed(3,
                     "there is no product 'fresh' that could take the values; one is made on "
                     "the level 'user' alone"));
    EXPECT_EQ(run({"import", source}), printed("added\tfresh.n\t1\n"));
    EXPECT_EQ(qbtest::readFile(userFile("fresh")),
              xml("fresh",
                  "    <key name=\"n\" visible=\"true\">\n        <int32>\n"
                  "            <value>1</value>\n        </int32>\n    </key>\n",
                  "visible=\"true\" version=\"9\" "));
}

TEST_F(FilesTest, AFactoryFileDefinesAProduct) {
    run({"set", "p.n", "5"});
    run({"export", "p", "--to", file("p.settings")});
    std::filesystem::create_directories(folder() / "made" / "p");
    std::string const target = file("made/p/p.settings");
    ASSERT_EQ(run({"make-factory", file("p.settings"), "--to", target, "--version", "12"}),
              printed(""));
    Outcome const described =
        run({"--factory-dir", file("made"), "--user-dir", file("nobody"), "describe", "p.n"});
    EXPECT_NE(described.out.find("in force\tfactory\t5\n"), std::string::npos) << described;
    EXPECT_NE(described.out.find("version\t12\n"), std::string::npos) << described;
    // Without a number the version of the file stays.
    ASSERT_EQ(run({"make-factory", file("p.settings"), "--to", target, "--force"}), printed(""));
    EXPECT_NE(qbtest::readFile(target).find("version=\"4\""), std::string::npos);
}

}  // namespace
