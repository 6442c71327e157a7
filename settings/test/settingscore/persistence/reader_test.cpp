#include <malloc.h>
#include <sys/stat.h>
#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <boost/numeric/conversion/converter_policies.hpp>
#include <settingscore/persistence/xml/SettingsSaxHandler.hpp>
#include <support/CommaLocale.hpp>

#include <support/ParserMemory.hpp>
#include <support/RoundTrip.hpp>

namespace {

using namespace qbtest;

std::string keyWith(std::string const& content) {
    return "<key name=\"k\">" + content + "</key>\n";
}

class Reader : public ::testing::Test {
protected:
    /// How a parse ends: "CODE DETAIL" if the reader refuses.
    std::string refusalOfFile(std::filesystem::path const& path) const {
        try {
            ParseFolder::parseFile(folder_.path() / path);
        } catch (exception::ErrorReadingSettingsData const& e) {
            return std::to_string(e.getErrorCode()) + " " +
                   qf::i18n::to_string(e.getDetailErrorMsg());
        }
        return "accepted";
    }
    std::string refusal(std::string const& text) const {
        return refusalOfFile(folder_.write("p.settings", text));
    }
    ParseFolder folder_;
};

TEST_F(Reader, buildsTheTreeThatTheFileTells) {
    auto const top = folder_.parse(fileText(
        R"(<settings name="g" readonly="true"><settings name="h" readonly="false" visible="True">
<key name="k"><string/></key>
<key name="i"><int8><metadata><min>-5</min><max>5</max><choices>9</choices><choices>8</choices>
</metadata></int8></key>
<key name="s"><string><metadata><max>4</max></metadata></string></key>
<key name="d"><int32><value>3</value>
<runtimedefault type="C" packagename="l" functionname="f"/></int32></key>
</settings></settings>
)"));
    auto const h = top->getChildImpl("g")->getChildImpl("h");
    auto const k = h->getChildImpl("k");
    // Only "true" is a flag; a group without one is as its parent is.
    EXPECT_TRUE(!h->isVisible() && h->isReadOnly() && !k->isReadOnly());
    auto const i = h->getChildImpl("i")->getKeyMetaData();
    EXPECT_EQ(shown(i.minimum) + shown(i.maximum) + shown(i.choices->at(1)), "int8 -5int8 5int8 8");
    auto const s = h->getChildImpl("s")->getKeyMetaData();
    EXPECT_EQ(shown(s.minimum) + shown(s.maximum), "-uint32 4");
    // A default drops the value.
    auto const d = h->getChildImpl("d");
    EXPECT_TRUE(d->getAnyValueInternal("user", false).empty());
    EXPECT_TRUE(boost::get<CRunTimeDefault>(d->getRunTimeDefault()) == CRunTimeDefault("l", "f"));
}

TEST_F(Reader, readsTheTextFormsOfValues) {
    CommaLocale const comma;
    // What a key of the type holds by each text in turn; "-" is no value element.
    auto const read = [&](std::string const& tag, Texts const& texts) {
        std::string all;
        for (std::string const& text : texts) {
            std::string const content = text == "-" ? "" : valueXml(text);
            std::string const end = "</" + tag.substr(0, tag.find(' ')) + ">";
            auto const top = folder_.parse(fileText(keyWith("<" + tag + ">" + content + end)));
            all += shown(top->getAny("k", "user")) + ", ";
        }
        return all;
    };
    EXPECT_EQ(read("int8", {"+7"}) + read("uint16", {"-1"}) + read("uint32", {"-1"}),
              "int8 7, uint16 65535, uint32 4294967295, ");
    // The pieces of a number do not add up.
    EXPECT_EQ(read("int32", {"", "007", "1<!-- cut -->2"}), "0, 7, 2, ");
    EXPECT_EQ(read("double", {"1.5and more", "1,5", "INFINITY"}),
              "double 1.5, double 1, double inf, ");
    EXPECT_EQ(read("bool", {"true", "1", "TRUE", " 1", ""}),
              "bool 1, bool 1, bool 0, bool 0, bool 0, ");
    EXPECT_EQ(read("string", {" \n<![CDATA[a]]]]><![CDATA[>b]]>&lt;&#x20ac;<!-- cut -->end"}),
              "string  \na]]>b<\u20acend, ");
    // Count and sizes decide what a key holds.
    EXPECT_EQ(read("int32", {"-"}) + read("int32 undef=\"true\"", {"7"}), "-, -, ");
    EXPECT_EQ(read("int32 maxArraySize=\"0\"", {"7"}) + read("int32 minArraySize=\"0\"", {"7"}),
              "array of int32 7, 7, ");
}

// --- Refusals -------------------------------------------------------------------------------

TEST_F(Reader, letsNumericFailuresAndDoubleNamesPass) {
    auto const parse = [&](std::string const& body) { folder_.parse(fileText(body)); };
    EXPECT_THROW(folder_.parse(fileText("", "version=\"4294967296\"")), boost::bad_lexical_cast);
    EXPECT_THROW(parse(keyXml("k", "int8", valueXml("300"))), boost::numeric::positive_overflow);
    EXPECT_THROW(parse(keyXml("k", "int8", valueXml("-129"))), boost::numeric::negative_overflow);
    EXPECT_THROW(parse(intKey("k", "1") + intKey("k", "1")), exception::ErrorAddingChildNodeOrKey);
}

TEST_F(Reader, tellsWhatItRefusesInTermsOfTheFormat) {
    for (auto const& [body, detail] : std::vector<std::pair<std::string, std::string>>{
             {keyXml("k", "string", valueXml(""), " minArraySize=\"3\" maxArraySize=\"0\""),
              "In 'k', the element 'string' has 1 value(s); allowed are at least 3 and at most "
              "unbounded."},
             {keyXml("k", "uint8", valueXml("70000")),
              "In a value of type uint8, the text '70000' is not a legal unsigned int8."},
             {intKey("k", "<key/>"),
              "In 'k', the element 'key' is not allowed inside the element 'value'."},
         }) {
        EXPECT_EQ(refusal(fileText(body)), "5 " + detail);
    }
}

/// What the parser refuses: with the position.
TEST_F(Reader, saysWhereAFileIsNotValid) {
    std::string const header = Settings::settingsXMLFileHeader + "\n";
    std::string const valid = fileText("");
    std::string const rest = valid.substr(header.size());
    std::string const entities =
        "<!DOCTYPE settings [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;\">]>\n";
    std::string const spaced =
        "<value xsi:type=\"xs:token\" xmlns:xs=\"http://www.w3.org/2001/XMLSchema\"> 1</value>";
    for (auto const& [text, place] : std::vector<std::pair<std::string, std::string>>{
             {"", "1  ColNum=1  "},
             {valid.substr(0, valid.size() - 5), "3"},
             {fileText(keyXml("k", "int32", spaced)), "3"},
             {header + entities + rest, "2"},
             {fileText(keyWith(std::string(1, '\0'))), "3"},
             {fileText(keyXml("k", "string", valueXml("\xff"))), ""},
         }) {
        EXPECT_EQ(refusal(text).rfind("4 LineNum=" + place, 0), 0u) << text << refusal(text);
    }
}

TEST_F(Reader, opensNothingButItsFilesAndItsOwnSchema) {
    // A schema of the same name beside the file, and one of another namespace: both would be read
    // by a parser that follows a file's hints, and would block it here.
    for (char const* name : {"settings.xsd", "other.xsd", "pipe"})
        ASSERT_EQ(::mkfifo((folder_.path() / name).c_str(), 0600), 0);
    std::string text = fileText("");
    std::string const hint = "settings settings.xsd";
    text.insert(text.find(hint) + hint.size(), " urn:other other.xsd");
    EXPECT_EQ(refusal(text), "accepted");
    std::string const foreign = " xmlns:x=\"urn:other\" xsi:schemaLocation=\"urn:other other.xsd\"";
    EXPECT_EQ(refusal(fileText("<x:a" + foreign + "/>"))[0], '4');
    // The last is a regular file by its looks; reading it fails.
    for (std::filesystem::path const file : {"missing", "", "pipe", "/proc/self/mem"}) {
        std::string const told = refusalOfFile(file);
        EXPECT_EQ(told[0], '4');
        EXPECT_NE(told.find(file.string()), std::string::npos) << told;
    }
}

TEST_F(Reader, boundsNestingAndTheLengthOfATextAndKeepsNothingOfARefusedFile) {
    auto const nested = [](std::size_t depth) {
        std::string body;
        for (std::size_t i = 0; i < 2 * depth; ++i)
            body += i < depth ? "<settings name=\"g\">" : "</settings>";
        return fileText(body);
    };
    std::size_t const limit = SettingsSaxHandler::nestingLimit;
    EXPECT_EQ(refusal(nested(limit - 1)), "accepted");
    EXPECT_EQ(refusal(nested(limit))[0], '5');
    std::string many;
    for (int i = 0; i < 200000; ++i)
        many += "&amp;&#65;";
    auto const top = folder_.parse(fileText(keyXml("k", "string", valueXml(many))));
    EXPECT_EQ(valueOf<ustring>(top, "k").size(), 400000u);

    // Sanitizers count for themselves: there this is always zero.
    auto const inUse = [] { return ::mallinfo2().uordblks + ::mallinfo2().hblkhd; };
    std::size_t const length = 1 << 20;
    std::size_t before = 0;
    for (char c = 'a'; c != 'h'; ++c) {
        std::string const nameSpace(length, c);
        EXPECT_EQ(refusal(fileText("<x:a xmlns:x=\"urn:" + nameSpace + "\"/>"))[0], '4');
        if (c == 'a') before = inUse();
    }
    EXPECT_LT(inUse(), before + 2 * length);
}

/// What the schema keeps from the handlers when a file is parsed.
TEST(SaxHandler, refusesWhatTheParserWouldNotSend) {
    ElementAttributes const none;
    SettingsSaxHandler handler;
    handler.startElement("settings", none);
    EXPECT_THROW(handler.characters(u"\n"), qf::except::IMsgIDException);
    handler.startElement("additionalpath", none);
    ustring const chunk(1 << 20, u'x');
    std::uint64_t sent = 0;
    auto const sendAll = [&] {
        for (; sent < 2 * SettingsSaxHandler::textLimit; sent += chunk.size())
            handler.characters(chunk);
    };
    EXPECT_THROW(sendAll(), exception::ErrorReadingSettingsData);
    EXPECT_EQ(sent, SettingsSaxHandler::textLimit);
}

// --- Several files --------------------------------------------------------------------------

TEST_F(Reader, followsAdditionalPathsFromTheFirstFilesFolder) {
    auto const write = [&](std::string const& file, Texts const& paths, std::string const& key) {
        std::string body = key;
        for (std::string const& path : paths)
            body.insert(0, "<additionalpath>" + path + "</additionalpath>\n");
        folder_.write(file + ".settings", fileText(body));
    };
    // Itself, a chain that comes round, and a path in a second file.
    write("a", {"./a.settings", "sub/b.settings"}, intKey("a", "1"));
    write("sub/b", {"a.settings", "c.settings"}, intKey("b", "1"));
    write("c", {}, intKey("c", "1"));
    auto const before = std::filesystem::current_path();
    std::filesystem::current_path(folder_.path() / "sub");
    EXPECT_EQ(childNames(ParseFolder::parseFile("../a.settings")), (Texts{"a", "b", "c"}));
    std::filesystem::current_path(before);
    // A conflict is told after all are read.
    write("c", {}, keyXml("a", "string", valueXml("x")));
    EXPECT_EQ(refusalOfFile("a.settings"),
              "6 Error merging Settings' files. The starting file is: " +
                  (folder_.path() / "a.settings").string());
    // A group in the place of a key is more than that.
    write("c", {}, groupXml("a", ""));
    EXPECT_THROW(refusalOfFile("a.settings"), exception::ErrorMergingNodesWithDiffAttr);
}

TEST_F(Reader, findsItsSchemaBelowAHostRootWithBlanks) {
    std::filesystem::path const place = "settings/src/settingscore/settings.xsd";
    std::string const schema = readFile(QB_SOURCE_DIR / place);
    auto const root = folder_.path() / "host \xc3\xa4 root";
    qbhost::setInstallPath(toUString(root));
    EXPECT_NE(refusal(fileText("")).find("settings.xsd"), std::string::npos);
    writeFile(root / place, "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\"/>");
    EXPECT_NE(refusal(fileText("")).find("settings.xsd"), std::string::npos);
    writeFile(root / place, schema);
    EXPECT_EQ(refusal(fileText("")), "accepted");
    // Once read, it is kept.
    std::filesystem::remove(root / place);
    EXPECT_EQ(refusal(fileText("")), "accepted");
    qbhost::setInstallPath({});
}

TEST_F(Reader, ParserWithoutMemoryFailsAsAnyOtherMemoryDoes) {
    // With the instruction it is nothing for the reader of plain files.
    auto const file = folder_.write("p.settings", fileText("<?a b?>" + intKey("k", "1")));
    ParseFolder::parseFile(file);  // What is made once is there.
    int failures = 0;
    for (long count = 0; !ParserMemory::suffices(count, [&] {
             try {
                 ParseFolder::parseFile(file);
             } catch (std::bad_alloc const&) {
                 ++failures;
             }
         });)
        ++count;
    EXPECT_GT(failures, 100);
}

TEST_F(Reader, parsesOnManyThreadsAtOnce) {
    auto const good = folder_.write("good", fileText(keyXml("k", "double", valueXml("0.25"))));
    folder_.write("bad", fileText(keyWith("")));
    concurrently(6, [&](int) {
        for (int i = 0; i < 40; ++i) {
            EXPECT_EQ(valueOf<double>(ParseFolder::parseFile(good), "k"), 0.25);
            EXPECT_EQ(refusalOfFile("bad")[0], '5');
        }
    });
}

}  // namespace
