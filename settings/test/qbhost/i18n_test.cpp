#include <stdexcept>
#include <string>

#include <gtest/gtest.h>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/host/MsgID.hpp>

#include "../support/TempFolder.hpp"

namespace {

using qf::ustring;
using namespace qf::i18n;

TEST(I18nTest, WellFormedTextGoesBothWays) {
    struct {
        std::string narrow;
        ustring wide;
    } const cases[] = {
        {"", u""},
        {std::string("a\0b", 3), ustring(u"a\0b", 3)},
        {"\x7f\xc2\x80\xdf\xbf", u"\x7f\x80\x7ff"},
        {"\xe0\xa0\x80\xed\x9f\xbf\xee\x80\x80\xef\xbf\xbf", u"\x800\xd7ff\xe000\xffff"},
        {"\xf0\x90\x80\x80\xf4\x8f\xbf\xbf", u"\xd800\xdc00\xdbff\xdfff"},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(c.wide, to_ustring(c.narrow));
        EXPECT_EQ(c.narrow, to_string(c.wide));
    }
}

TEST(I18nTest, EachStrayByteBecomesOneCharacter) {
    struct {
        std::string narrow;
        ustring wide;
    } const cases[] = {
        {"a\x80z", u"a\x80z"},                      // a trail byte alone
        {"\xc3", u"\xc3"},                          // cut off
        {"\xc3(", u"\xc3("},                        // a good character behind
        {"\xe2\x82\xc3\xa9", u"\xe2\x82\xe9"},      // a good sequence behind
        {"\xc0\xaf", u"\xc0\xaf"},                  // longer than need be
        {"\xed\xa0\x80", u"\xed\xa0\x80"},          // a surrogate
        {"\xf4\x90\x80\x80", u"\xf4\x90\x80\x80"},  // above the last character
        {"\xfe\xff", u"\xfe\xff"},
    };
    for (auto const& c : cases)
        EXPECT_EQ(c.wide, to_ustring(c.narrow));
}

TEST(I18nTest, EachLoneSurrogateBecomesTheReplacementCharacter) {
    std::string const replacement = "\xef\xbf\xbd";
    EXPECT_EQ(replacement + "a", to_string(ustring{0xd800, u'a'}));
    EXPECT_EQ("a" + replacement, to_string(ustring{u'a', 0xdc00}));
    EXPECT_EQ(replacement, to_string(ustring{0xd83d}));
    EXPECT_EQ(replacement + "\xf0\x9f\x98\x80", to_string(ustring{0xd83d, 0xd83d, 0xde00}));
}

TEST(I18nTest, OtherEncodingsThanUtf8AreRefused) {
    EXPECT_EQ("\xc3\xa9", codecvt_ustring_to_string(u"\xe9", "UTF-8"));
    EXPECT_THROW(codecvt_ustring_to_string(u"a", "EBCDIC"), std::invalid_argument);
    EXPECT_THROW(codecvt_ustring_to_string(u"a", nullptr), std::invalid_argument);
}

TEST(I18nTest, EnvironmentNamesFoldersUnharmed) {
    qbtest::ScopedEnvironment environment;
    environment.set("QBHOST_TEST", "/h\xc3\xa9/\xff");
    EXPECT_EQ("/h\xc3\xa9/\xff", qf::filesystem::path(qf::i18n::getenv("QBHOST_TEST")).native());
    environment.unset("QBHOST_TEST");
    EXPECT_EQ(u"", qf::i18n::getenv("QBHOST_TEST"));
}

std::string textOf(std::string const& domain, std::string const& key, std::size_t count) {
    rescat::BaseMsgID id(count, domain, key);
    for (std::size_t i = 0; i < count; ++i) {
        std::string const argument = "<" + std::to_string(i) + ">";
        if (i % 2 == 0)
            id.setArgument(i, argument);
        else
            id.setArgument(i, to_ustring(argument));
    }
    return to_string(MessageCatalog::get_message(id, qbLocale::global()));
}

// A text that leaves an argument out hides what the user needs.
TEST(MessageCatalogTest, EveryTextShowsAllItsArguments) {
    struct {
        char const* key;
        std::size_t count;
    } const cases[] = {
        {"CFunctionNotFound", 2},
        {"SettingsLibraryNotInitialized", 1},
        {"JVMNotReadyForProcessingJavaFunction", 0},
        {"ZENBARFuncMustBeInvokedByExecEngine", 0},
        {"ExecEngineNotReadyForProcessingZFunction", 0},
        {"CanNotCreateTempDirectory", 1},
        {"NoWritePermissionOnDirectory", 2},
        {"DataTypeNotMatch", 2},
        {"ErrorCopyFileInPrefDir", 3},
        {"ErrorOverwriteFileInPrefDir", 1},
        {"PreferenceDirectoryNotExist", 2},
        {"ErrorMigratePrefsBetweenReleases", 2},
        {"ErrorCreatePreferenceDirectoryTimeStamp", 2},
        {"SettingsUserDirectoryNotExist", 0},
        {"TypeNotSpecifiedForNoneAnyType", 1},
        {"XMLMetaDataParserError", 3},
        {"XMLParseErrorWrongValueForGivenType", 3},
        {"XMLParserErrorUnexpectedTextContent", 2},
        {"XMLParserErrorIllegalTagName", 3},
        {"XMLParserErrorNumOfValueNotInRange", 5},
    };
    for (auto const& c : cases) {
        std::string const text = textOf("ZENBAR:settings:core", c.key, c.count);
        EXPECT_EQ(std::string::npos, text.find("ZENBAR:settings")) << text;
        EXPECT_EQ(std::string::npos, text.find('{')) << text;
        for (std::size_t i = 0; i < c.count; ++i)
            EXPECT_NE(std::string::npos, text.find("<" + std::to_string(i) + ">")) << text;
    }
}

TEST(MessageCatalogTest, AnUnknownMessageStillTellsItsIdAndArguments) {
    EXPECT_EQ("ZENBAR:settings:core:New: <0>, <1>", textOf("ZENBAR:settings:core", "New", 2));
    EXPECT_EQ("elsewhere:DataTypeNotMatch", textOf("elsewhere", "DataTypeNotMatch", 0));
}

TEST(MessageCatalogTest, ArgumentsAreNotTakenForPlaceholders) {
    rescat::BaseMsgID id(2, "ZENBAR:settings:core", "DataTypeNotMatch");
    id.setArgument(0, std::string("{1}"));
    id.setArgument(1, std::string("string"));
    EXPECT_EQ("The value has the wrong type: the setting holds {1}, the value given is string.",
              to_string(MessageCatalog::get_message(id, qbLocale::global())));
}

}  // namespace
