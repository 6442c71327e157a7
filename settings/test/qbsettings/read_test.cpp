// What the program shows: list, get, describe, dirs.

#include "ProgramWorld.hpp"

using qbtest::failed;
using qbtest::Outcome;
using qbtest::printed;

namespace {

class ReadTest : public qbtest::ProgramWorld {
protected:
    ReadTest() {
        factoryFile(
            "plotter",
            key("width", "double",
                "<value>0.1</value><metadata><min>0.05</min><max>5</max></metadata>") +
                key("tenth", "float", "<value>0.1</value>") +
                key("colors", "uint8", "<value>200</value><value>7</value>",
                    " maxArraySize=\"0\"") +
                key("none", "int32", "", " minArraySize=\"0\" maxArraySize=\"0\"") +
                key("label", "string", "<value>a\tb\\c\nd</value>") +
                key("open", "int16", "<value>-4</value>", "", " anytype=\"true\"") +
                key("unset", "int64", "") +
                key("paper", "string",
                    "<value>A4</value><metadata><choices>A4</choices><choices>A3</choices>"
                    "</metadata>",
                    "", " readonly=\"true\"") +
                key("computed", "double",
                    "<runtimedefault type='C' packagename='defaults' functionname='giveDouble'/>") +
                "<settings name=\"pen\" visible=\"true\">"
                "<validationfunc type='C' packagename='checks' functionname='accept'/>" +
                key("down", "bool", "<value>true</value>") + "</settings>\n",
            "visible=\"true\" version=\"3\" ");
    }
};

TEST_F(ReadTest, ListsEveryKeyWithTheLevelThatSuppliesItsValue) {
    ASSERT_EQ(run({"set", "plotter.width", "0.25"}), printed(""));
    std::string const rows =
        "plotter.colors\tarray of uint8\tfactory\t200, 7\n"
        "plotter.computed\tdouble\truntime:factory\t2.5\n"
        "plotter.label\tstring\tfactory\ta\\tb\\\\c\\nd\n"
        "plotter.none\tarray of int32\tfactory\t\n"
        "plotter.open\tany\tfactory\t-4\n"
        "plotter.paper\tstring\tfactory\tA4\n"
        "plotter.pen.down\tbool\tfactory\ttrue\n"
        "plotter.tenth\tfloat\tfactory\t0.1\n"
        "plotter.unset\tint64\t-\t\n"
        "plotter.width\tdouble\tuser\t0.25\n";
    EXPECT_EQ(run({"list"}), printed(rows));
    EXPECT_EQ(run({"list", "plotter"}), printed(rows));
    EXPECT_EQ(run({"list", "plotter.pen"}), printed("plotter.pen.down\tbool\tfactory\ttrue\n"));
    EXPECT_EQ(run({"list", "plotter.width"}), printed("plotter.width\tdouble\tuser\t0.25\n"));
}

TEST_F(ReadTest, GetsNothingButTheValue) {
    struct Case {
        std::vector<std::string> words;
        Outcome expected;
    };
    for (Case const& test : std::vector<Case>{
             {{"get", "plotter.width"}, printed("0.1\n")},
             {{"get", "plotter.tenth"}, printed("0.1\n")},
             {{"get", "plotter.colors"}, printed("200\n7\n")},
             {{"get", "plotter.none"}, printed("")},
             {{"get", "plotter.label"}, printed("a\tb\\c\nd\n")},
             {{"get", "plotter.pen.down"}, printed("true\n")},
             {{"get", "plotter.computed"}, printed("2.5\n")},
             {{"get", "plotter.computed", "--level", "factory"}, printed("2.5\n")},
             {{"get", "plotter.computed", "--level", "user"}, failed(3, "")},
             {{"get", "plotter.unset"}, failed(3, "")},
             {{"get", "plotter.width", "--level", "top"},
              failed(2, "there is no level 'top'; the levels are session, user, factory")},
             {{"get", "plotter.pen"},
              failed(1,
                     "'plotter.pen' is a group, not a key; 'qbsettings list' shows the keys in "
                     "it")},
         }) {
        EXPECT_EQ(run(test.words), test.expected) << test.words[1];
    }
}

TEST_F(ReadTest, SuggestsTheNameThatWasMeant) {
    struct Case {
        char const* name;
        char const* message;
    };
    for (Case const& test : std::vector<Case>{
             {"plotter.With", "there is no setting 'plotter.With'; did you mean 'plotter.width'?"},
             {"ploter.pem.down",
              "there is no setting 'ploter.pem.down'; did you mean 'plotter.pen.down'?"},
             {"plotter.down",
              "there is no setting 'plotter.down'; did you mean 'plotter.pen.down'?"},
             {"tenth", "there is no setting 'tenth'; did you mean 'plotter.tenth'?"},
             {"plotter.somethingElse", "there is no setting 'plotter.somethingElse'"},
             {"plotter.a\nb", "there is no setting 'plotter.a\\nb'"},
             {".", "the name is empty"},
         }) {
        EXPECT_EQ(run({"get", test.name}), failed(3, test.message));
    }
}

TEST_F(ReadTest, DescribesRulesAndTheValuesOfEveryLevel) {
    run({"set", "plotter.width", "2"});
    EXPECT_EQ(run({"describe", "plotter.width"}),
              printed("name\tplotter.width\nkind\tkey\ntype\tdouble\n"
                      "elements\texactly 1 value\nrange\t0.05 to 5\nchoices\t-\nvalidator\t-\n"
                      "runtime default\t-\nsession\t-\t\nuser\tuser\t2\nfactory\tfactory\t0.1\n"
                      "in force\tuser\t2\nread-only\tno\nvisible\tyes\nversion\t3\n"));
    EXPECT_EQ(run({"describe", "plotter.paper"}),
              printed("name\tplotter.paper\nkind\tkey\ntype\tstring\n"
                      "elements\texactly 1 value\nrange\t-\nchoices\tA4, A3\nvalidator\t-\n"
                      "runtime default\t-\nsession\t-\t\nuser\t-\t\nfactory\tfactory\tA4\n"
                      "in force\tfactory\tA4\nread-only\tyes\nvisible\tno\nversion\t3\n"));
    EXPECT_EQ(run({"describe", "plotter.pen"}),
              printed("name\tplotter.pen\nkind\tgroup\nread-only\tno\nvisible\tyes\nversion\t3\n"
                      "validator\tC checks accept\nkey\tdown\n"));
    Outcome const computed = run({"describe", "plotter.computed"});
    EXPECT_NE(computed.out.find("runtime default\tC defaults giveDouble on factory\n"
                                "session\t-\t\nuser\t-\t\nfactory\truntime:factory\t2.5\n"),
              std::string::npos)
        << computed;
}

TEST_F(ReadTest, TellsTheDirectoriesInForce) {
    environment().set("SETTINGS_WORKGROUPDIR", (folder() / "group").string());
    EXPECT_EQ(run({"dirs"}),
              printed("factory\t@/factory\nworkgroup\t@/group\nuser\t@/user\nhost\t" +
                      std::string(QB_SOURCE_DIR) + "\n"));
    environment().unset("SETTINGS_WORKGROUPDIR");
    EXPECT_EQ(run({"--factory-dir", (folder() / "f").string(), "--user-dir",
                   (folder() / "u").string(), "--host-root", (folder() / "h").string(), "dirs"}),
              printed("factory\t@/f\nworkgroup\t-\nuser\t@/u\nhost\t@/h\n"));
    // Without any of them the preference directory of the release is made.
    environment().unset("SETTINGS_USERDIR");
    Outcome const own = run({"dirs"});
    EXPECT_NE(own.out.find("user\t@/home/.zenbar/"), std::string::npos) << own;
}

TEST_F(ReadTest, GoesOnBehindADefaultThatFails) {
    factoryFile("broken", key("a", "int32",
                              "<runtimedefault type='C' packagename='defaults' "
                              "functionname='fail'/>") +
                              key("b", "int32", "<value>1</value>"));
    EXPECT_EQ(
        run({"list", "broken"}),
        (Outcome{1, "broken.a\tint32\truntime:factory\t\nbroken.b\tint32\tfactory\t1\n",
                 "qbsettings: broken.a: the function fail of defaults that computes its default "
                 "failed: Unknown\n"}));
}

}  // namespace
