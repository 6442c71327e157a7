#include <atomic>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <locale>
#include <thread>

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/stat.h>
#include <unistd.h>
#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <boost/numeric/conversion/converter_policies.hpp>
#include <boost/optional/optional_io.hpp>
#include <boost/variant/get.hpp>
#include <qbhost/QbHost.hpp>
#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/persistence/xml/SettingsSaxHandler.hpp>
#include <settingscore/persistence/xml/XMLSettingsDetails.hpp>
#include <settingscore/value/AnyBridge.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/sax2/Attributes.hpp>

#include "roundtrip_support.hpp"

namespace {

namespace ids = ZENBAR::settings::core;
namespace boostany = settingscore::boostany;
using namespace settings::core;
using exception::ErrorReadingSettingsData;
using qbtest::fileText;
using qbtest::NodePtr;
using qbtest::ParseFolder;
using qbtest::valueAt;

/// The catalogue's text of a message id.
std::string textOf(rescat::BaseMsgID const& id) {
    return qf::i18n::to_string(
        qf::i18n::MessageCatalog::get_message(id, qf::i18n::qbLocale::global()));
}

std::string keyWith(std::string const& content, std::string const& attributes = {}) {
    return "<key name=\"k\"" + attributes + ">" + content + "</key>\n";
}

struct Refusal {
    int code;
    std::string detail;
};

/// How a parse ends that the reader refuses; code -1 if it doesn't.
template <class Parse>
Refusal refusalOf(Parse const& parse) {
    try {
        parse();
    } catch (ErrorReadingSettingsData const& error) {
        return {error.getErrorCode(), qf::i18n::to_string(error.getDetailErrorMsg())};
    }
    return {-1, "accepted"};
}

class Reader : public ::testing::Test {
protected:
    ParseFolder folder_;
};

TEST_F(Reader, buildsTheTreeThatTheFileTells) {
    auto const top = folder_.parse(fileText(
        R"(<validationfunc type="C" packagename="first" functionname="f"/>
<key name="a" visible="true" readonly="true"><int32><value>1</value></int32></key>
<validationfunc type="JAVA" packagename="last" functionname="f">
</validationfunc>
<settings name="g" readonly="true"><settings name="h" readonly="false" visible="True">
<key name="k"><validationfunc type='ZENBAR' packagename='p.q' functionname='v'/><string
minArraySize="2" maxArraySize="0"><value>x</value><value/></string></key></settings></settings>
)",
        R"( visible="true" version="+7")"));
    boost::shared_lock<boost::shared_mutex> const shared(SettingsImpl::mutexToRoot());
    detail::HeldLock const lock(shared);
    EXPECT_EQ(top->getName(), "p");
    EXPECT_TRUE(top->isVisibleWithLock(lock));
    EXPECT_EQ(top->getVersionNumberWithLock(lock), 7u);
    EXPECT_TRUE(isEqual(top->validatorWithLock(lock), Validator(JValidator("last", "f"))));
    auto const a = top->getChildImpl("a");
    EXPECT_TRUE(a->isLeafWithLock());
    EXPECT_TRUE(a->isReadOnlyWithLock(lock));
    EXPECT_EQ(a->getDataTypeIndexInternal(), 7ul);
    EXPECT_EQ(a->getFullNameWithLock(lock, false), "p.a");
    auto const g = top->getChildImpl("g");
    EXPECT_TRUE(g->isReadOnlyWithLock(lock));
    EXPECT_FALSE(g->isVisibleWithLock(lock));
    EXPECT_EQ(g->visibleWithLock(lock), false);
    auto const h = g->getChildImpl("h");
    // Only "true" is a flag; a group without one is as its parent is.
    EXPECT_TRUE(h->isReadOnlyWithLock(lock));
    EXPECT_FALSE(h->isVisibleWithLock(lock));
    auto const k = h->getChildImpl("k");
    EXPECT_FALSE(k->isReadOnlyWithLock(lock));
    EXPECT_TRUE(isEqual(k->validatorWithLock(lock), Validator(ZValidator("p.q", "v"))));
    EXPECT_EQ(k->getDataTypeIndexInternal(), 1ul);
    EXPECT_EQ(k->getValueArraySizeValidator()->minArrSize(), 2u);
    EXPECT_EQ(k->getValueArraySizeValidator()->maxArrSize(), 0u);
    EXPECT_EQ(boost::any_cast<std::vector<ustring>>(valueAt(top, "g.h.k")),
              (std::vector<ustring>{u"x", u""}));
}

TEST_F(Reader, keepsAttributeTextsAsTheyStand) {
    struct Case {
        char const* text;
        unsigned version;
    };
    for (auto const& test :
         {Case{"0", 0}, Case{"-1", 4294967295u}, Case{"4294967295", 4294967295u}}) {
        EXPECT_EQ(XMLSettingsDetails::getVersionNumber(test.text), test.version);
    }
    EXPECT_EQ(XMLSettingsDetails::getVersionNumber(""), boost::none);
    for (std::string const text : {" 1", "1 ", "0x1", "4294967296", "one", "1,000"}) {
        EXPECT_THROW(folder_.parse(fileText("", " version=\"" + text + "\"")),
                     boost::bad_lexical_cast)
            << text;
        EXPECT_THROW(
            folder_.parse(fileText(keyWith("<int8 maxArraySize=\"x" + text + "\"></int8>"))),
            boost::bad_lexical_cast)
            << text;
    }
    EXPECT_THROW(folder_.parse(fileText(keyWith("<int8 minArraySize=\"\"></int8>"))),
                 boost::bad_lexical_cast);
}

/// Decimal comma and grouped digits.
class OddNumbers : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST_F(Reader, readsTheTextFormsOfValues) {
    std::locale const before =
        std::locale::global(std::locale(std::locale::classic(), new OddNumbers));
    struct Case {
        std::string tag;
        std::string text;
        boost::any value;
    };
    double const infinity = std::numeric_limits<double>::infinity();
    std::vector<Case> const cases = {
        {"int8", "-128", static_cast<signed char>(-128)},
        {"int8", "+7", static_cast<signed char>(7)},
        {"uint8", "255", static_cast<unsigned char>(255)},
        {"int16", "-32768", static_cast<short>(-32768)},
        {"uint16", "-1", static_cast<unsigned short>(65535)},
        {"int32", "2147483647", 2147483647},
        {"int32", "", 0},
        {"int32", "007", 7},
        {"uint32", "-1", 4294967295u},
        {"int64", "-9223372036854775808", std::numeric_limits<long long>::min()},
        {"uint64", "18446744073709551615", std::numeric_limits<unsigned long long>::max()},
        {"float", "0.1", 0.1f},
        {"double", "0.1", 0.1},
        {"double", "1.5and more", 1.5},
        {"double", "1,5", 1.0},
        {"double", "-0", -0.0},
        {"double", "0.0", 0.0},
        {"double", "INFINITY", infinity},
        {"double", "-inf", -infinity},
        {"double", "4.9e-324", 4.9e-324},
        {"bool", "true", true},
        {"bool", "1", true},
        {"bool", "TRUE", false},
        {"bool", " 1", false},
        {"bool", "yes", false},
        {"bool", "", false},
        {"string", "", ustring()},
        {"string", " \n<![CDATA[a]]]]><![CDATA[>b]]>&lt;&#x20ac;<!-- cut -->end",
         ustring(u" \na]]>b<\u20acend")},
        // The pieces of a number do not add up.
        {"int32", "1<!-- cut -->2", 2},
    };
    for (auto const& test : cases) {
        auto const top = folder_.parse(fileText(
            keyWith("<" + test.tag + "><value>" + test.text + "</value></" + test.tag + ">")));
        EXPECT_TRUE(boostany::isEqual(valueAt(top, "k"), test.value))
            << test.tag << " " << test.text;
    }
    auto const top = folder_.parse(fileText(keyWith("<float><value>-nan</value></float>")));
    EXPECT_TRUE(std::isnan(boost::any_cast<float>(valueAt(top, "k"))));
    std::locale::global(before);
}

TEST_F(Reader, decidesByCountAndSizesWhatAKeyHolds) {
    struct Case {
        char const* attributes;
        int count;
        boost::any value;
    };
    std::vector<Case> const cases = {
        {"", 1, 7},
        {"", 0, boost::any()},
        {R"(minArraySize="0" maxArraySize="0")", 0, std::vector<int>()},
        {R"(minArraySize="0" maxArraySize="0" undef="true")", 0, boost::any()},
        {R"(undef="true")", 3, boost::any()},
        {R"(minArraySize="2" maxArraySize="4")", 0, boost::any()},
        {R"(maxArraySize="0")", 1, std::vector<int>{7}},
        {R"(maxArraySize="0")", 3, std::vector<int>{7, 7, 7}},
        {R"(minArraySize="0")", 1, 7},
        {R"(minArraySize="2" maxArraySize="2")", 2, std::vector<int>{7, 7}},
        {R"(maxArraySize="2")", 1, std::vector<int>{7}},
    };
    for (auto const& test : cases) {
        std::string values;
        for (int i = 0; i < test.count; ++i)
            values += "<value>7</value>";
        auto const top = folder_.parse(fileText(
            keyWith("<int32 " + std::string(test.attributes) + ">" + values + "</int32>")));
        EXPECT_TRUE(boostany::isEqual(valueAt(top, "k"), test.value))
            << test.attributes << " " << test.count;
    }
}

TEST_F(Reader, readsKeysOfAnyType) {
    auto const top = folder_.parse(
        fileText("<key name=\"none\" anytype=\"true\"/>"
                 "<key name=\"some\" anytype=\"true\"><double><value>2.5</value></double></key>"));
    EXPECT_EQ(top->getChildImpl("none")->getDataTypeIndexInternal(), 25ul);
    EXPECT_TRUE(valueAt(top, "none").empty());
    EXPECT_EQ(boost::any_cast<double>(valueAt(top, "some")), 2.5);
    // It takes any type afterwards.
    EXPECT_NO_THROW(top->setAny("some", ustring(u"text"), "user"));
}

TEST_F(Reader, readsRulesAndRuntimeDefaults) {
    auto const top = folder_.parse(fileText(
        "<key name=\"i\"><int8><metadata><min>-5</min><max>5</max><choices>9</choices>"
        "<choices>8</choices></metadata></int8></key>"
        "<key name=\"s\"><string><metadata><max>4</max></metadata></string></key>"
        "<key name=\"n\"><int32><metadata></metadata></int32></key>"
        "<key name=\"d\"><int32><value>3</value>"
        "<runtimedefault type=\"C\" packagename=\"l\" functionname=\"f\"/></int32></key>"
        "<key name=\"u\"><int32><value>3</value>"
        "<runtimedefault type=\"c\" packagename=\"l\" functionname=\"f\"/></int32></key>"));
    auto const i = top->getChildImpl("i")->getKeyMetaData();
    EXPECT_EQ(boost::any_cast<signed char>(i.minimum), -5);
    EXPECT_EQ(boost::any_cast<signed char>(i.maximum), 5);
    ASSERT_EQ(i.choices->size(), 2u);
    EXPECT_EQ(boost::any_cast<signed char>(i.choices->at(1)), 8);
    auto const s = top->getChildImpl("s")->getKeyMetaData();
    EXPECT_TRUE(s.minimum.empty());
    EXPECT_EQ(boost::any_cast<unsigned int>(s.maximum), 4u);
    EXPECT_FALSE(s.choices);
    EXPECT_TRUE(top->getChildImpl("n")->getKeyMetaData().empty());
    // A default drops the value; a kind that is not known does nothing.
    EXPECT_TRUE(valueAt(top, "d").empty());
    auto const& function = boost::get<CRunTimeDefault>(top->getChildImpl("d")->getRunTimeDefault());
    EXPECT_TRUE(function == CRunTimeDefault("l", "f"));
    EXPECT_EQ(boost::any_cast<int>(valueAt(top, "u")), 3);
}

/// What the handlers refuse: code 5 with the catalogue's text.
TEST_F(Reader, tellsInTheCataloguesWordsWhatItRefuses) {
    auto const wrong = [](std::string const& type, std::string const& text,
                          std::string const& again) {
        return textOf(ids::XMLParseErrorWrongValueForGivenType(
            qf::i18n::to_ustring(type), qf::i18n::to_ustring(text), qf::i18n::to_ustring(again)));
    };
    auto const value = [](std::string const& tag, std::string const& text) {
        return keyWith("<" + tag + "><value>" + text + "</value></" + tag + ">");
    };
    auto const meta = [](std::string const& tag, std::string const& content) {
        return keyWith("<" + tag + "><metadata>" + content + "</metadata></" + tag + ">");
    };
    struct Case {
        std::string body;
        std::string detail;
    };
    std::vector<Case> const cases = {
        {keyWith(""), textOf(ids::TypeNotSpecifiedForNoneAnyType("k"))},
        {value("int8", "abc"), wrong("int8", "abc", "int8")},
        {value("uint8", "abc"), wrong("uint8", "abc", "unsigned int8")},
        {value("uint8", "70000"), wrong("uint8", "70000", "unsigned int8")},
        {value("int16", "32768"), wrong("int16", "32768", "int16")},
        {value("uint16", "1.0"), wrong("uint16", "1.0", "uint16")},
        {value("int32", " 1"), wrong("int32", " 1", "int32")},
        {value("uint32", "0x1F"), wrong("uint32", "0x1F", "uint32")},
        {value("int64", "1,000"), wrong("int64", "1,000", "int64")},
        {value("uint64", "--1"), wrong("uint64", "--1", "uint64")},
        {value("float", "0,1"), wrong("float", "0,1", "float")},
        {value("double", "0abc"), wrong("double", "0abc", "double")},
        {value("double", "zero"), wrong("double", "zero", "double")},
        {meta("string", "<min>-</min>"), wrong("uint32", "-", "uint32")},
        {meta("int32", "<min>3</min><max>2</max>"),
         textOf(ids::XMLMetaDataParserError("k", "3", "2"))},
        {meta("int8", "<max>-3</max><min>2</min>"),
         textOf(ids::XMLMetaDataParserError("k", "2", "-3"))},
        {meta("double", "<max>0.1</max><min>inf</min>"),
         textOf(ids::XMLMetaDataParserError("k", "inf", "0.10000000000000001"))},
        {meta("bool", "<min>1</min><max>0</max>"),
         textOf(ids::XMLMetaDataParserError("k", "1", "0"))},
        {keyWith("<int32><value>1</value><value>2</value></int32>"),
         textOf(ids::XMLParserErrorNumOfValueNotInRange("k", "int32", "2", "1", "1"))},
        {keyWith(R"(<string minArraySize="3" maxArraySize="0"><value/></string>)"),
         textOf(ids::XMLParserErrorNumOfValueNotInRange("k", "string", "1", "3", "unbounded"))},
        // Elements that the format knows, in places where they have no business.
        {"<value>1</value>", textOf(ids::XMLParserErrorIllegalTagName("p", "value", "settings"))},
        {"<settings name=\"g\"><additionalpath>x</additionalpath></settings>",
         textOf(ids::XMLParserErrorIllegalTagName("g", "additionalpath", "settings"))},
        {keyWith("<settings name=\"g\"/>"),
         textOf(ids::XMLParserErrorIllegalTagName("k", "settings", "key"))},
        {keyWith("<int32><min>1</min></int32>"),
         textOf(ids::XMLParserErrorIllegalTagName("k", "min", "int32"))},
        {keyWith("<int32><value><key/></value></int32>"),
         textOf(ids::XMLParserErrorIllegalTagName("k", "key", "value"))},
        {"<validationfunc><key/></validationfunc>",
         textOf(ids::XMLParserErrorIllegalTagName("p", "key", "validationfunc"))},
    };
    for (auto const& test : cases) {
        auto const refusal = refusalOf([&] { folder_.parse(fileText(test.body)); });
        EXPECT_EQ(refusal.code, 5) << test.body;
        EXPECT_EQ(refusal.detail, test.detail) << test.body;
    }
    auto const root =
        refusalOf([&] { folder_.parse("<key name=\"k\" " + Settings::settingsSchemaInfo + "/>"); });
    EXPECT_EQ(root.code, 5);
    EXPECT_EQ(root.detail, "Illegal tag encountered at the beginning of the Settings XMLfile");
}

TEST_F(Reader, letsNumericFailuresAndDoubleNamesPass) {
    auto const parse = [&](std::string const& body) { folder_.parse(fileText(body)); };
    EXPECT_THROW(parse(keyWith("<int8><value>300</value></int8>")),
                 boost::numeric::positive_overflow);
    EXPECT_THROW(parse(keyWith("<int8><value>-129</value></int8>")),
                 boost::numeric::negative_overflow);
    EXPECT_THROW(parse(keyWith("<uint8><value>-1</value></uint8>")),
                 boost::numeric::positive_overflow);
    EXPECT_THROW(parse(keyWith("<bool></bool>") + keyWith("<bool></bool>")),
                 exception::ErrorAddingChildNodeOrKey);
}

std::string nested(int depth) {
    std::string open;
    std::string close;
    for (int i = 0; i < depth; ++i) {
        open += "<settings name=\"g\">";
        close += "</settings>";
    }
    return open + close;
}

/// What the parser refuses: code 4 with the position.
TEST_F(Reader, saysWhereAFileIsNotValid) {
    std::string const entities =
        "<!DOCTYPE settings [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;\">]>\n";
    std::string const body = keyWith("<string><value>&b;</value></string>");
    std::string const valid = fileText(keyWith("<bool></bool>"));
    struct Case {
        std::string text;
        std::string start;
    };
    std::string const header = Settings::settingsXMLFileHeader + "\n";
    std::vector<Case> const cases = {
        {"", "LineNum=1  ColNum=1  "},
        {"no settings", "LineNum=1  ColNum=1  "},
        {valid.substr(0, valid.size() - 5), "LineNum=4  ColNum="},
        {std::string(valid).replace(valid.size() - 3, 1, "x"), "LineNum=4  ColNum="},
        {fileText("text\n"), "LineNum=4  ColNum="},
        {fileText("\n\n<![CDATA[ ]]>"), "LineNum=5  ColNum="},
        {fileText("<unknown/>"), "LineNum=3  ColNum=11  "},
        {fileText("", " color=\"red\""), "LineNum=2  ColNum="},
        {fileText(keyWith("<unsupported><value>1</value></unsupported>")), "LineNum=3  ColNum="},
        {fileText("<key name=\"a&#9;b\"/>"), "LineNum=3  ColNum=21  "},
        {fileText("<key name=\"a&lt;b\"/>"), "LineNum=3  ColNum="},
        {fileText("<validationfunc packagename=\"it's\"/>"), "LineNum=3  ColNum="},
        {fileText(keyWith("<int32><value xsi:type=\"xs:token\" "
                          "xmlns:xs=\"http://www.w3.org/2001/XMLSchema\"> 1</value></int32>")),
         "LineNum=3  ColNum="},
        {header + "<settings name=\"p\"/>", "LineNum=2  ColNum="},
        {header + "<settings name=\"p\" xmlns=\"urn:other\"/>", "LineNum=2  ColNum="},
        {fileText(body), "LineNum=3  ColNum="},
        {header + entities + valid.substr(header.size()), "LineNum=2  ColNum="},
        {header + "<!DOCTYPE settings>\n" + valid.substr(header.size()), "LineNum=2  ColNum="},
        // It would let characters through that no file of version 1.0 can hold.
        {"<?xml version=\"1.1\"?>\n" + fileText("<key name=\"a&#1;b\"/>").substr(header.size()),
         "LineNum=1  ColNum="},
        {header + "<!DOCTYPE settings SYSTEM \"file:///etc/passwd\">" + valid.substr(header.size()),
         "LineNum=2  ColNum="},
        {fileText(keyWith(std::string(1, '\0'))), "LineNum=3  ColNum="},
        {fileText(keyWith("<string><value>\xff</value></string>")), "LineNum="},
    };
    for (auto const& test : cases) {
        auto const refusal = refusalOf([&] { folder_.parse(test.text); });
        EXPECT_EQ(refusal.code, 4) << test.text;
        EXPECT_EQ(refusal.detail.substr(0, test.start.size()), test.start) << test.text;
        EXPECT_GT(refusal.detail.size(), test.start.size() + 5) << refusal.detail;
    }
}

TEST_F(Reader, opensNothingButTheFileAndItsOwnSchema) {
    // A schema of the same name beside the file, and one of another namespace: both would be read
    // by a parser that follows a file's hints, and would block it here.
    ASSERT_EQ(::mkfifo((folder_.path() / "settings.xsd").c_str(), 0600), 0);
    ASSERT_EQ(::mkfifo((folder_.path() / "other.xsd").c_str(), 0600), 0);
    std::string text = fileText(keyWith("<bool></bool>"));
    std::string const hint = "settings settings.xsd";
    ASSERT_NE(text.find(hint), std::string::npos);
    text.insert(text.find(hint) + hint.size(), " urn:other other.xsd");
    EXPECT_NO_THROW(folder_.parse(text));
    std::string const foreign =
        fileText("<x:a xmlns:x=\"urn:other\" xsi:schemaLocation=\"urn:other other.xsd\"/>");
    EXPECT_EQ(refusalOf([&] { folder_.parse(foreign); }).code, 4);
}

TEST_F(Reader, refusesFilesThatCannotBeRead) {
    ASSERT_EQ(::mkfifo((folder_.path() / "pipe.settings").c_str(), 0600), 0);
    std::vector<std::filesystem::path> const files = {
        folder_.path() / "missing.settings", folder_.path(), folder_.path() / "pipe.settings",
        // A regular file by its looks; reading it fails.
        "/proc/self/mem", std::filesystem::path()};
    for (auto const& file : files) {
        auto const refusal = refusalOf([&] { ParseFolder::parseFile(file); });
        EXPECT_EQ(refusal.code, 4) << file;
        EXPECT_NE(refusal.detail.find(file.string()), std::string::npos) << refusal.detail;
    }
}

TEST_F(Reader, boundsNestingAndTheLengthOfATextAlone) {
    int const limit = static_cast<int>(SettingsSaxHandler::nestingLimit);
    EXPECT_NO_THROW(folder_.parse(fileText(nested(limit - 1))));
    EXPECT_EQ(refusalOf([&] { folder_.parse(fileText(nested(limit))); }).code, 5);
    EXPECT_EQ(refusalOf([&] { folder_.parse(fileText(nested(100 * limit))); }).code, 5);

    std::string many;
    for (int i = 0; i < 200000; ++i)
        many += "&amp;&#65;";
    std::string const value = "<string><value>" + many + "</value></string>";
    auto const top = folder_.parse(fileText(keyWith(value)));
    EXPECT_EQ(boost::any_cast<ustring>(valueAt(top, "k")).size(), 400000u);
}

TEST_F(Reader, keepsNothingOfARefusedFile) {
    // Sanitizers count for themselves: there this is always zero.
    auto const inUse = [] {
        auto const info = ::mallinfo2();
        return info.uordblks + info.hblkhd;
    };
    std::size_t const length = 1 << 20;
    auto const parse = [&](char c) {
        std::string const nameSpace(length, c);
        auto const refusal =
            refusalOf([&] { folder_.parse(fileText("<x:a xmlns:x=\"urn:" + nameSpace + "\"/>")); });
        EXPECT_EQ(refusal.code, 4);
    };
    parse('a');
    std::size_t const before = inUse();
    for (char c = 'b'; c != 'h'; ++c)
        parse(c);
    EXPECT_LT(inUse(), before + 2 * length);
}

/// No attributes at all, as without a schema that supplies some.
class NoAttributes : public xercesc::Attributes {
public:
    XMLSize_t getLength() const override { return 0; }
    XMLCh const* getURI(XMLSize_t) const override { return nullptr; }
    XMLCh const* getLocalName(XMLSize_t) const override { return nullptr; }
    XMLCh const* getQName(XMLSize_t) const override { return nullptr; }
    XMLCh const* getType(XMLSize_t) const override { return nullptr; }
    XMLCh const* getValue(XMLSize_t) const override { return nullptr; }
    bool getIndex(XMLCh const*, XMLCh const*, XMLSize_t&) const override { return false; }
    int getIndex(XMLCh const*, XMLCh const*) const override { return -1; }
    bool getIndex(XMLCh const*, XMLSize_t&) const override { return false; }
    int getIndex(XMLCh const*) const override { return -1; }
    XMLCh const* getType(XMLCh const*, XMLCh const*) const override { return nullptr; }
    XMLCh const* getType(XMLCh const*) const override { return nullptr; }
    XMLCh const* getValue(XMLCh const*, XMLCh const*) const override { return nullptr; }
    XMLCh const* getValue(XMLCh const*) const override { return nullptr; }
};

/// What the schema keeps from the handlers when a file is parsed.
TEST(SaxHandler, refusesWhatTheParserWouldNotSend) {
    auto const messageOf = [](auto const& work) {
        try {
            work();
        } catch (xercesc::SAXException const& error) {
            return qf::i18n::to_string(error.getMessage());
        }
        return std::string("accepted");
    };
    NoAttributes const none;
    SettingsSaxHandler handler;
    handler.characters(u"before", 6);
    handler.startElement(u"", u"settings", u"settings", none);
    EXPECT_EQ(messageOf([&] { handler.characters(u"\n", 1); }),
              textOf(ids::XMLParserErrorUnexpectedTextContent("", "settings")));
    EXPECT_EQ(messageOf([&] { handler.endElement(u"", u"key", u"key"); }),
              "Mismatch in tag hierarchy between parser and node stack");
    EXPECT_EQ(messageOf([&] { handler.startElement(u"", u"b\u00e4r", u"", none); }),
              textOf(ids::XMLParserErrorIllegalTagName("", "b\xc3\xa4r", "settings")));
    handler.startElement(u"", u"key", u"key", none);
    EXPECT_THROW(handler.startElement(u"", u"int8", u"int8", none), boost::bad_lexical_cast);

    SettingsSaxHandler longText;
    longText.startElement(u"", u"settings", u"settings", none);
    longText.startElement(u"", u"additionalpath", u"additionalpath", none);
    ustring const chunk(1 << 20, u'x');
    std::uint64_t sent = 0;
    EXPECT_NE(messageOf([&] {
                  while (sent < 2 * SettingsSaxHandler::textLimit) {
                      longText.characters(chunk.data(), chunk.size());
                      sent += chunk.size();
                  }
              }),
              "accepted");
    EXPECT_EQ(sent, SettingsSaxHandler::textLimit);
}

TEST_F(Reader, followsAdditionalPathsFromTheFirstFilesFolder) {
    auto const file = [](std::string const& name, std::string const& paths) {
        return fileText(paths + "<key name=\"" + name + "\"><bool><value>1</value></bool></key>\n");
    };
    // Itself, a chain that comes round, and a path in a second file.
    folder_.write("a.settings", file("a",
                                     "<additionalpath>sub/b.settings</additionalpath>\n"
                                     "<additionalpath>./a.settings</additionalpath>\n"));
    folder_.write("sub/b.settings", file("b",
                                         "<additionalpath>c.settings</additionalpath>\n"
                                         "<additionalpath>a.settings</additionalpath>\n"));
    folder_.write("c.settings", file("c", ""));
    auto const check = [](NodePtr const& top) {
        EXPECT_EQ(top->getChildrenImpl().size(), 3u);
        for (char const* name : {"a", "b", "c"}) {
            EXPECT_TRUE(boost::any_cast<bool>(valueAt(top, name)));
        }
    };
    check(ParseFolder::parseFile(folder_.path() / "a.settings"));

    auto const before = std::filesystem::current_path();
    std::filesystem::current_path(folder_.path());
    check(ParseFolder::parseFile("a.settings"));
    std::filesystem::current_path(folder_.path() / "sub");
    check(ParseFolder::parseFile("../a.settings"));
    std::filesystem::current_path(before);

    folder_.write("broken.settings", file("x", "<additionalpath>gone.settings</additionalpath>\n"));
    auto const gone =
        refusalOf([&] { ParseFolder::parseFile(folder_.path() / "broken.settings"); });
    EXPECT_EQ(gone.code, 4);
    EXPECT_NE(gone.detail.find("gone.settings"), std::string::npos) << gone.detail;
}

TEST_F(Reader, reportsAConflictOfSeveralFilesAfterAllAreRead) {
    auto const define = [](std::string const& content) {
        return fileText(keyWith("<int32>" + content + "</int32>"));
    };
    auto const start =
        folder_.write("a.settings", fileText("<additionalpath>c.settings</additionalpath>\n"
                                             "<additionalpath>b.settings</additionalpath>\n" +
                                             keyWith("<int32><value>1</value></int32>")));
    folder_.write("b.settings", fileText(keyWith("<string><value>x</value></string>")));
    folder_.write("c.settings", define("<value>2</value>"));
    auto const conflict = refusalOf([&] { ParseFolder::parseFile(start); });
    EXPECT_EQ(conflict.code, 6);
    EXPECT_EQ(conflict.detail,
              "Error merging Settings' files. The starting file is: " + start.string());
    folder_.write("c.settings", "broken");
    EXPECT_EQ(refusalOf([&] { ParseFolder::parseFile(start); }).code, 4);
}

TEST_F(Reader, findsItsSchemaBelowAHostRootWithBlanks) {
    struct HostRoot {
        explicit HostRoot(std::filesystem::path const& path) {
            qbhost::setInstallPath(qbtest::toUString(path));
        }
        ~HostRoot() { qbhost::setInstallPath(ustring()); }
    };
    auto const place = [](std::filesystem::path const& root) {
        return root / "settings/src/settingscore/settings.xsd";
    };
    std::string const schema =
        qbtest::readFile(place(qf::filesystem::path(qf::filesystem::get_install_path()).native()));
    auto const root = folder_.path() / "host \xc3\xa4 root";
    std::string const text = fileText(keyWith("<bool><value>1</value></bool>"));
    HostRoot const moved(root);
    auto const missing = refusalOf([&] { folder_.parse(text); });
    EXPECT_EQ(missing.code, 4);
    EXPECT_NE(missing.detail.find("settings.xsd"), std::string::npos) << missing.detail;
    qbtest::writeFile(place(root), "no schema");
    EXPECT_EQ(refusalOf([&] { folder_.parse(text); }).code, 4);
    // Once it is there, it is read and kept.
    qbtest::writeFile(place(root), schema);
    EXPECT_NO_THROW(folder_.parse(text));
    std::filesystem::remove(place(root));
    EXPECT_NO_THROW(folder_.parse(text));
}

TEST_F(Reader, parsesOnManyThreadsAtOnce) {
    auto const good =
        folder_.write("good.settings", fileText(keyWith("<double><value>0.25</value></double>")));
    auto const bad = folder_.write("bad.settings", fileText(keyWith("")));
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 40; ++i) {
                auto const top = ParseFolder::parseFile(good);
                if (boost::any_cast<double>(valueAt(top, "k")) != 0.25) ++wrong;
                if (refusalOf([&] { ParseFolder::parseFile(bad); }).code != 5) ++wrong;
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

}  // namespace
