// Keys and groups of the user's own, and many keys at once.

#include "ProgramWorld.hpp"

using qbtest::failed;
using qbtest::Outcome;
using qbtest::printed;

namespace {

class EditTest : public qbtest::ProgramWorld {
protected:
    EditTest() {
        factoryFile("p", key("n", "int32", "<value>1</value><metadata><max>10</max></metadata>") +
                             key("list", "double", "<value>1</value>", " maxArraySize=\"0\"") +
                             key("s", "string", "<value>x</value>") +
                             "<settings name=\"locked\" readonly=\"true\">" +
                             key("k", "bool", "<value>1</value>") + "</settings>\n");
    }
    /// A whole line of standard error for each text.
    static std::string lines(std::vector<std::string> const& texts) {
        std::string all;
        for (std::string const& text : texts)
            all += "qbsettings: " + text + "\n";
        return all;
    }
};

TEST_F(EditTest, AddsKeysGroupsAndProducts) {
    for (std::vector<std::string> const& words : std::vector<std::vector<std::string>>{
             {"add-group", "p.mine"},
             {"add", "p.mine.speed", "--type", "double", "1.5"},
             {"add", "p.mine.tags", "--type", "string", "a", "b"},
             {"add", "p.mine.numbers", "--type", "array of int16"},
             {"add", "p.mine.later", "--type", "uint64"},
             {"set", "p.mine.numbers", "1", "-2", "3"},
             {"set", "p.mine.tags", "a", "b", "c", "d"},
             {"add-group", "own"},
             {"add", "own.flag", "--type", "bool", "true"},
         }) {
        ASSERT_EQ(run(words), printed("")) << words[0] << ' ' << words[1];
    }
    EXPECT_EQ(run({"list", "p.mine"}), printed("p.mine.later\tuint64\t-\t\n"
                                               "p.mine.numbers\tarray of int16\tuser\t1, -2, 3\n"
                                               "p.mine.speed\tdouble\tuser\t1.5\n"
                                               "p.mine.tags\tarray of string\tuser\ta, b, c, d\n"));
    EXPECT_EQ(run({"list", "own"}), printed("own.flag\tbool\tuser\ttrue\n"));

    EXPECT_EQ(run({"remove", "p.mine.speed"}), printed(""));
    EXPECT_EQ(run({"get", "p.mine.speed"}).status, 3);
    EXPECT_EQ(run({"remove", "p.mine"}), printed(""));
    EXPECT_EQ(run({"list", "p.mine"}).status, 3);
    EXPECT_EQ(run({"remove", "own"}), printed(""));
    EXPECT_FALSE(std::filesystem::exists(userFile("own")));
}

TEST_F(EditTest, RefusalsLeaveTheTreeAsItWas) {
    struct Case {
        std::vector<std::string> words;
        int status;
        std::string message;
    };
    for (Case const& test : std::vector<Case>{
             {{"add", "p.n", "--type", "int32"}, 1, "p.n: p has a 'n' already"},
             {{"add", "p.x", "--type", "int32", "a"},
              1,
              "p.x: 'a' is no int32: it takes a whole number from -2147483648 to 2147483647"},
             {{"add", "p.x", "--type", "long"},
              2,
              "there is no type 'long'; the types are string, bool, int8, uint8, int16, uint16, "
              "int32, uint32, int64, uint64, float, double, and 'array of' each"},
             {{"add", "p.q.x", "--type", "int32"}, 3, "there is no setting 'p.q'"},
             {{"add", "p.1x", "--type", "int32"},
              1,
              "'1x' is no legal name: a letter, then letters, digits and '_', at most 63, and no "
              "word of the host's language"},
             {{"add", "x", "--type", "int32"},
              1,
              "x: a key stands in a product; name it as PRODUCT.KEY"},
             {{"add-group", "P"},
              1,
              "P: there is a product 'p' already, and names of products may not differ in case "
              "alone"},
             {{"add-group", "p.n.g"}, 1, "'p.n' is a key, not a group"},
             {{"add", "p.locked.x", "--type", "int32"},
              1,
              "p.locked.x: the group 'p.locked' is read-only: what it holds cannot be added to, "
              "removed or unset"},
             {{"remove", "p.n"},
              1,
              "p.n: it has values on the levels factory, user, of which only user can be changed"},
             {{"remove", "p"},
              1,
              "p: it has values on the levels factory, user, of which only user can be changed"},
             {{"remove", "p.nope"}, 3, "there is no setting 'p.nope'"},
         }) {
        EXPECT_EQ(run(test.words), failed(test.status, test.message)) << test.words[1];
        EXPECT_FALSE(std::filesystem::exists(userFile("p"))) << test.words[1];
    }
}

TEST_F(EditTest, SetsManyKeysAsOneAction) {
    std::string const text =
        "# a comment\n"
        "p.n = 7\n"
        "\n"
        "  p.list=[0.1, 2, \"inf\", -1e-7]\r\n"
        "p.s = a = \"b\"\n";
    ASSERT_EQ(runWith(text, {"set-many"}), printed(""));
    EXPECT_EQ(run({"list", "p"}), printed("p.list\tarray of double\tuser\t0.1, 2, inf, -1e-07\n"
                                          "p.locked.k\tbool\tfactory\ttrue\n"
                                          "p.n\tint32\tuser\t7\n"
                                          "p.s\tstring\tuser\ta = \"b\"\n"));
    std::string const file =
        qbtest::writeFile(folder() / "more", "p.s = \" \\t\\u00e9\\n\"").string();
    ASSERT_EQ(run({"set-many", file}), printed(""));
    EXPECT_EQ(run({"get", "p.s"}), printed(" \t\xC3\xA9\n\n"));
    ASSERT_EQ(runWith("p.s =\np.n=1\np.n=2", {"set-many", "-"}), printed(""));
    EXPECT_EQ(run({"get", "p.s"}), printed("\n"));
    EXPECT_EQ(run({"get", "p.n"}), printed("2\n"));
}

TEST_F(EditTest, ToldOfEveryRefusedLineItSetsNone) {
    std::string const place = " (defined in @/factory/p/p.settings)";
    std::string const text =
        "p.n = 2\n"
        "p.n = 11\n"
        "p.lst = 1\n"
        "nonsense\n"
        "p.list = 1\n"
        "p.list = [1, [2]]\n"
        "p.list = [1, \n"
        "p.list = [null]\n"
        "p.list = {\"a\": 1}\n"
        "p.list = []\n"
        "p.s = \"\\u0001\"\n"
        "p.s = \"\\ud800\"\n"
        "p.s = \xFF\n"
        "p = 1\n";
    Outcome const result = runWith(text, {"set-many"});
    EXPECT_EQ(
        result,
        (Outcome{1, "",
                 lines({
                     "line 2: p.n: '11' is not allowed: it takes at most 10" + place,
                     "line 3: there is no setting 'p.lst'; did you mean 'p.list'?",
                     "line 4: a line is written as NAME = VALUE",
                     "line 5: p.list: an array is written as [1, 2]",
                     "line 6: p.list: an array cannot hold arrays",
                     "line 7: p.list: the JSON is broken at character 4",
                     "line 8: p.list: null is no value",
                     "line 9: p.list: an object is no value",
                     "line 10: p.list: 0 values were given, it takes at least 1 value" + place,
                     "line 11: p.s: '\\x01' holds U+0001, which no settings file can hold" + place,
                     "line 12: p.s: the JSON is broken at character 8",
                     "line 13: the line is not UTF-8",
                     "line 14: 'p' is a group, not a key; 'qbsettings list' shows the keys in it",
                     "nothing was set",
                 })}));
    EXPECT_FALSE(std::filesystem::exists(userFile("p")));
    EXPECT_EQ(run({"set-many", (folder() / "missing").string()}),
              failed(1, "@/missing cannot be read"));
}

}  // namespace
