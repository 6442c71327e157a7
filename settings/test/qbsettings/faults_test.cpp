// Files that cannot be read: what check and the other commands make of them.

#include "ProgramWorld.hpp"

using qbtest::failed;
using qbtest::Outcome;
using qbtest::printed;

namespace {

class FaultsTest : public qbtest::ProgramWorld {
protected:
    FaultsTest() { factoryFile("good", key("n", "int32", "<value>1</value>")); }
    std::string write(std::string const& name, std::string const& text) const {
        return qbtest::writeFile(folder() / name, text).string();
    }
};

TEST_F(FaultsTest, CheckTellsThePlaceOfEveryFault) {
    struct Case {
        char const* name;
        std::string text;
        char const* start;  ///< What the line on the file begins with.
    };
    std::vector<Case> const cases = {
        {"cut.settings", "<?xml version=\"1.0\"?>\n<settings name=\"p\"", ":2:19: "},
        {"unknown.settings", xml("p", "<oddity/>\n"), ":3:10: "},
        {"number.settings", xml("p", key("n", "int32", "<value>x</value>")), ": "},
        {"empty.settings", "", ":1:1: "},
        {"entity.settings",
         "<?xml version=\"1.0\"?>\n<!DOCTYPE settings [<!ENTITY e SYSTEM \"/etc/passwd\">]>\n"
         "<settings name=\"p\">&e;</settings>\n",
         ":"},
    };
    for (Case const& test : cases) {
        std::string const file = write(test.name, test.text);
        Outcome const result = run({"check", file});
        EXPECT_EQ(result.status, 1) << test.name;
        EXPECT_EQ(result.err, "") << test.name;
        std::string const line = "@/" + std::string(test.name) + test.start;
        EXPECT_EQ(result.out.substr(0, line.size()), line) << result;
        EXPECT_EQ(result.out.find('\n'), result.out.size() - 1) << result;
    }
    EXPECT_EQ(run({"check", (folder() / "missing").string()}),
              (Outcome{1, "@/missing: cannot open '@/missing': No such file or directory\n", ""}));
}

TEST_F(FaultsTest, CheckGoesThroughAllProducts) {
    EXPECT_EQ(run({"check"}), printed(""));
    factoryFile("bad", "<nonsense/>\n");
    factoryFile("stale", key("n", "int32", "<value>1</value><metadata><max>3</max></metadata>"));
    qbtest::writeFile(userFile("stale"), xml("stale", key("n", "int32", "<value>9</value>")));
    factoryFile("idle",
                "<validationfunc type='C' packagename='a' functionname='b'/>\n" +
                    key("n", "int32", "<value>1</value>"),
                "visible=\"true\" readonly=\"true\" ");
    Outcome const result = run({"check"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "");
    for (char const* line : {
             "@/factory/bad/bad.settings:3:",
             "@/user/stale.settings: The value passed in is not in the predefined range\n",
             "@/factory/idle/idle.settings: note: 'readonly' on the product's own element has no "
             "effect\n",
             "@/factory/idle/idle.settings: note: 'validationfunc' of the product's own element "
             "has no effect\n",
         }) {
        EXPECT_NE(result.out.find(line), std::string::npos) << line << result;
    }
    EXPECT_EQ(result.out.find("good"), std::string::npos) << result;
}

TEST_F(FaultsTest, AListingGoesOnBehindAProductThatFailsToLoad) {
    factoryFile("bad", "<nonsense/>\n");
    Outcome const result = run({"list"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "good.n\tint32\tfactory\t1\n");
    EXPECT_EQ(result.err.find("qbsettings: @/factory/bad/bad.settings:3:"), 0U) << result;
    EXPECT_EQ(run({"get", "good.n"}), printed("1\n"));
}

TEST_F(FaultsTest, AUserFileThatCannotBeReadIsKeptAsideBeforeItIsReplaced) {
    std::string const broken = "<settings name=\"good\">the user's work";
    std::string const warning =
        "qbsettings: @/user/good.settings could not be read; a save keeps it aside, with .rejected "
        "behind its name, and what it held is no longer in force\n";
    std::string const lines = qbtest::writeFile(folder() / "in", "good.n = 3\n").string();
    std::string kept;
    for (std::vector<std::string> const& words : std::vector<std::vector<std::string>>{
             {"set", "good.n", "3"},
             {"add", "good.m", "--type", "int32", "3"},
             {"add-group", "good.g"},
             {"set-many", lines},
         }) {
        qbtest::writeFile(userFile("good"), broken);
        Outcome const result = run(words);
        EXPECT_EQ(result.status, 0) << words[0] << result;
        EXPECT_EQ(result.err.find("qbsettings: @/user/good.settings:1:"), 0U) << result;
        EXPECT_NE(result.err.find(warning), std::string::npos) << result;
        std::string const name = "good.settings.rejected" + kept;
        EXPECT_EQ(qbtest::readFile(userFile("good").parent_path() / name), broken) << words[0];
        EXPECT_NE(
            run({"check"}).out.find(
                "@/user/" + name +
                ": note: kept aside, since it could not be read when its product was saved\n"),
            std::string::npos);
        kept = kept.empty() ? ".2" : kept == ".2" ? ".3" : ".4";
    }
    EXPECT_EQ(run({"get", "good.n"}), printed("3\n"));
}

TEST_F(FaultsTest, AUserFileThatCannotBeReadStaysWhereNothingIsSaved) {
    std::string const broken = "<settings name=\"good\">the user's work";
    qbtest::writeFile(userFile("good"), broken);
    for (auto const& [words, status] :
         std::vector<std::pair<std::vector<std::string>, int>>{{{"unset", "good.n"}, 3},
                                                               {{"remove", "good"}, 1},
                                                               {{"remove", "good.n"}, 1},
                                                               {{"set", "good.n", "x"}, 1}}) {
        Outcome const result = run(words);
        EXPECT_EQ(result.status, status) << words[0];
        EXPECT_EQ(result.err.find("qbsettings: @/user/good.settings:1:"), 0U) << result;
        EXPECT_EQ(qbtest::readFile(userFile("good")), broken) << words[0];
    }
    // What could be read is shown, and that it is not all.
    Outcome const result = run({"get", "good.n"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "1\n");
}

TEST_F(FaultsTest, OddFileNamesAreShownAndReached) {
    qbtest::writeFile(userFile("a.b"), xml("a.b", key("n", "int32", "<value>2</value>")));
    EXPECT_EQ(run({"list", "a.b"}), printed("a.b.n\tint32\tuser\t2\n"));
    EXPECT_EQ(run({"get", "a.b.n"}), printed("2\n"));
    qbtest::writeFile(userFile("c\xFF\td"), "not settings");
    Outcome const result = run({"list"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "a.b.n\tint32\tuser\t2\ngood.n\tint32\tfactory\t1\n");
    EXPECT_EQ(result.err.find("qbsettings: "), 0U);
}

TEST_F(FaultsTest, AHostRootWithoutTheSchemaIsToldByItsPath) {
    Outcome const result = run({"--host-root", (folder() / "nowhere").string(), "get", "good.n"});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("@/nowhere/settings/src/settingscore/settings.xsd"),
              std::string::npos)
        << result;
}

}  // namespace
