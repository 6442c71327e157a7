// How the program changes one key.

#include "ProgramWorld.hpp"

using qbtest::failed;
using qbtest::Outcome;
using qbtest::printed;

namespace {

class SetTest : public qbtest::ProgramWorld {
protected:
    SetTest() {
        factoryFile(
            "p",
            key("real", "double",
                "<value>1</value><metadata><min>0.5</min><max>8</max></metadata>") +
                key("byte", "int8",
                    "<value>1</value><metadata><min>-20</min><choices>-100</choices></metadata>") +
                key("pair", "uint8", "<value>1</value><value>2</value>",
                    " minArraySize=\"2\" maxArraySize=\"2\"") +
                key("text", "string", "<value>old</value><metadata><max>12</max></metadata>") +
                key("flag", "bool", "<value>0</value>") +
                key("many", "string", "<value>x</value>",
                    " minArraySize=\"0\" maxArraySize=\"0\"") +
                key("open", "int32", "<value>3</value>", "", " anytype=\"true\"") +
                key("fixed", "int32", "<value>3</value>", "", " readonly=\"true\"") +
                "<key name=\"checked\"><validationfunc type='C' packagename='checks' "
                "functionname='refuse'/><int32><value>1</value></int32></key>\n" +
                key("wrongDefault", "int32",
                    "<runtimedefault type='C' packagename='defaults' functionname='giveString'/>"));
    }
};

TEST_F(SetTest, StoresWhatIsTypedAndReadsItBackInAnotherProcess) {
    struct Case {
        std::vector<std::string> words;
        char const* value;
    };
    for (Case const& test : std::vector<Case>{
             {{"p.real", "0.1e1"}, "1\n"},
             {{"p.real", "7.000000000000001"}, "7.000000000000001\n"},
             {{"p.byte", "-20"}, "-20\n"},
             {{"p.byte", "--", "-100"}, "-100\n"},
             {{"p.pair", "255", "0"}, "255\n0\n"},
             {{"p.flag", "true"}, "true\n"},
             {{"p.flag", "0"}, "false\n"},
             {{"p.text", ""}, "\n"},
             {{"p.text", "[draft]"}, "[draft]\n"},
             {{"p.text", "{}"}, "{}\n"},
             {{"p.text", "a,b %% \"c\""}, "a,b %% \"c\"\n"},
             {{"p.text", "set"}, "set\n"},
             {{"p.text", "--", "--level"}, "--level\n"},
             {{"p.text", "]]><&>'\""}, "]]><&>'\"\n"},
             {{"p.text", "\xC3\xA9\xF0\x9F\x98\x80\xEF\xBF\xBD"},
              "\xC3\xA9\xF0\x9F\x98\x80\xEF\xBF\xBD\n"},
             {{"p.text", " \tx\n"}, " \tx\n\n"},
             {{"p.many", "one", "", "[2]"}, "one\n\n[2]\n"},
             {{"p.many", "alone"}, "alone\n"},
             {{"p.open", "7"}, "7\n"},
             {{"p.open", "--type", "string", "seven"}, "seven\n"},
             {{"p.open", "eight"}, "eight\n"},
         }) {
        std::vector<std::string> words = test.words;
        words.insert(words.begin(), "set");
        ASSERT_EQ(run(words), printed("")) << test.value;
        EXPECT_EQ(run({"get", test.words.front(), "--level", "user"}), printed(test.value));
    }
}

TEST_F(SetTest, RefusalsSayWhatIsAllowedAndChangeNothing) {
    run({"set", "p.real", "2"});
    std::string const before = qbtest::readFile(userFile("p"));
    std::string const place = " (defined in @/factory/p/p.settings)";
    struct Case {
        std::vector<std::string> words;
        int status;
        std::string message;
    };
    for (Case const& test : std::vector<Case>{
             {{"p.real", "9"}, 1, "p.real: '9' is not allowed: it takes 0.5 to 8" + place},
             {{"p.real", "-inf"}, 1, "p.real: '-inf' is not allowed: it takes 0.5 to 8" + place},
             {{"p.real", "1,5"}, 1, "p.real: '1,5' is no double: it takes a number" + place},
             {{"p.byte", "-21"},
              1,
              "p.byte: '-21' is not allowed: it takes at least -20 or one of -100" + place},
             {{"p.byte", "200"},
              1,
              "p.byte: '200' is no int8: it takes a whole number from -128 to 127" + place},
             {{"p.pair", "1"}, 1, "p.pair: 1 value was given, it takes exactly 2 values" + place},
             {{"p.text", "much too long a text"},
              1,
              "p.text: 'much too long a text' is not allowed: it takes a length of at most 12" +
                  place},
             {{"p.text", "a\rb"},
              1,
              "p.text: 'a\\x0db' holds U+000D, which no settings file can hold" + place},
             {{"p.text", "\xEF\xBF\xBE"},
              1,
              "p.text: '\xEF\xBF\xBE' holds U+FFFE, which no settings file can hold" + place},
             {{"p.text", "a\xFFz"}, 1, "'a\\xffz' is not UTF-8"},
             {{"p.text", "\xED\xA0\x80"}, 1, "'\\xed\\xa0\\x80' is not UTF-8"},
             {{"p.text", "\xC0\xAF"}, 1, "'\\xc0\\xaf' is not UTF-8"},
             {{"p.te\xFFxt", "a"}, 1, "'p.te\\xffxt' is not UTF-8"},
             {{"p.flag", "yes"},
              1,
              "p.flag: 'yes' is no bool: it takes true, false, 1 or 0" + place},
             {{"p.fixed", "4"}, 1, "p.fixed: it is read-only"},
             {{"p.checked", "4"},
              1,
              "p.checked: '4' is refused by refuse of checks: the check says no" + place},
             {{"p.real", "1", "--type", "string"},
              1,
              "p.real: it is of the type double; another can be given to keys of any type alone" +
                  place},
             {{"p.real", "1", "--level", "factory"},
              1,
              "p.real: the level 'factory' cannot be changed; 'user' and 'session' can"},
             {{"p.real", "1", "--level", "mine"},
              2,
              "there is no level 'mine'; the levels are session, user, factory"},
             {{"p.nothing", "1"}, 3, "there is no setting 'p.nothing'"},
         }) {
        std::vector<std::string> words = test.words;
        words.insert(words.begin(), "set");
        EXPECT_EQ(run(words), failed(test.status, test.message)) << test.words[1];
        EXPECT_EQ(qbtest::readFile(userFile("p")), before) << test.words[1];
    }
}

TEST_F(SetTest, TellsThatAValueWasNotStoredBehindADefaultThatFails) {
    EXPECT_EQ(run({"set", "p.wrongDefault", "4"}),
              failed(1,
                     "p.wrongDefault: the value was not stored, since the default behind it "
                     "fails: The value has the wrong type: the setting holds int32, the value "
                     "given is string."));
    EXPECT_FALSE(std::filesystem::exists(userFile("p")));
}

TEST_F(SetTest, TheFileHoldsTheUsersValuesAlone) {
    factoryFile("small",
                key("n", "int32", "<value>1</value>") + key("s", "string", "<value>x</value>"));
    ASSERT_EQ(run({"set", "small.n", "5"}), printed(""));
    std::string const keyS =
        "    <key name=\"s\" visible=\"true\">\n        <string>\n        </string>\n    </key>\n";
    auto const file = [&](std::string const& value) {
        return xml("small", "    <key name=\"n\" visible=\"true\">\n        <int32>\n" + value +
                                "        </int32>\n    </key>\n" + keyS);
    };
    EXPECT_EQ(qbtest::readFile(userFile("small")), file("            <value>5</value>\n"));
    ASSERT_EQ(run({"unset", "small.n"}), printed(""));
    EXPECT_EQ(qbtest::readFile(userFile("small")), file(""));
    EXPECT_EQ(run({"unset", "small.n"}), failed(3, "small.n: it has no value on the level 'user'"));
    EXPECT_EQ(run({"unset", "small.n", "--level", "factory"}),
              failed(1,
                     "small.n: the level 'factory' cannot be changed; 'user' and 'session' "
                     "can"));
    EXPECT_EQ(run({"get", "small.n"}), printed("1\n"));
}

TEST_F(SetTest, ASessionValueIsCheckedAndLeavesNoFile) {
    EXPECT_EQ(run({"set", "p.real", "3", "--level", "session"}), printed(""));
    EXPECT_EQ(run({"get", "p.real"}), printed("1\n"));
    EXPECT_TRUE(std::filesystem::is_empty(userDir()));
}

TEST_F(SetTest, AFileOrFolderThatCannotBeWrittenIsTold) {
    if (::geteuid() == 0) GTEST_SKIP() << "permissions do not hold the superuser back";
    namespace fs = std::filesystem;
    run({"set", "p.real", "2"});
    fs::permissions(userFile("p"), fs::perms::owner_read);
    EXPECT_EQ(run({"set", "p.real", "3"}),
              failed(1,
                     "p.real: @/user/p.settings cannot be written for the level 'user': Permission "
                     "denied"));
    EXPECT_EQ(run({"get", "p.real"}), printed("2\n"));
}

TEST_F(SetTest, AUserFolderThatIsAFileIsTold) {
    std::string const file = qbtest::writeFile(folder() / "file", "x").string();
    EXPECT_EQ(run({"--user-dir", file, "set", "p.real", "2"}),
              failed(1, "the user directory @/file cannot be written to: Not a directory"));
    EXPECT_EQ(run({"--user-dir", file, "get", "p.real"}), printed("1\n"));
}

TEST_F(SetTest, ProgramsThatWriteAtOnceLoseNothing) {
    constexpr int count = 12;
    std::string body;
    for (int i = 0; i < count; ++i)
        body += key("k" + std::to_string(i), "int32", "<value>0</value>");
    factoryFile("busy", body);
    std::vector<pid_t> children;
    for (int i = 0; i < count; ++i) {
        std::string const number = std::to_string(i);
        children.push_back(start({"set", "busy.k" + number, std::to_string(100 + i)}, number));
    }
    for (int i = 0; i < count; ++i) {
        EXPECT_EQ(finish(children[static_cast<std::size_t>(i)], std::to_string(i)), printed(""));
    }
    for (int i = 0; i < count; ++i) {
        EXPECT_EQ(run({"get", "busy.k" + std::to_string(i)}),
                  printed(std::to_string(100 + i) + "\n"));
    }
}

}  // namespace
