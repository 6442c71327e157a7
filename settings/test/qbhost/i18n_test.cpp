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

TEST(I18nTest, NarrowTextIsUtf8AndNothingIsLostOnTheWay) {
    // The first and the last character of each length, and a NUL.
    std::string const narrow(
        "\0\x7f\xc2\x80\xdf\xbf\xe0\xa0\x80\xed\x9f\xbf\xee\x80\x80\xef\xbf\xbf"
        "\xf0\x90\x80\x80\xf4\x8f\xbf\xbf",
        26);
    ustring const wide(u"\0\x7f\x80\x7ff\x800\xd7ff\xe000\xffff\xd800\xdc00\xdbff\xdfff", 12);
    EXPECT_EQ(to_ustring(narrow), wide);
    EXPECT_EQ(to_string(wide), narrow);
    // Each stray byte becomes one character: a trail byte alone, a sequence that is cut off before
    // a good character or sequence, one longer than need be, a surrogate, one too high, the end.
    EXPECT_EQ(
        to_ustring("\x80|\xc3(\xe2\x82\xc3\xa9|\xc0\xaf|\xed\xa0\x80|\xf4\x90\x80\x80|\xff\xc3"),
        u"\x80|\xc3(\xe2\x82\xe9|\xc0\xaf|\xed\xa0\x80|\xf4\x90\x80\x80|\xff\xc3");
    EXPECT_EQ(to_string({0xd800, u'|', 0xdc00, u'|', 0xd83d, 0xd83d, 0xde00, 0xd83d}),
              "\xef\xbf\xbd|\xef\xbf\xbd|\xef\xbf\xbd\xf0\x9f\x98\x80\xef\xbf\xbd");
    EXPECT_EQ("\xc3\xa9", codecvt_ustring_to_string(u"\xe9", "UTF-8"));
    for (char const* const encoding : {"EBCDIC", static_cast<char const*>(nullptr)})
        EXPECT_THROW(codecvt_ustring_to_string(u"a", encoding), std::invalid_argument);
    qbtest::ScopedEnvironment environment;
    environment.set("QBHOST_TEST", "/h\xc3\xa9/\xff");
    EXPECT_EQ("/h\xc3\xa9/\xff", qf::filesystem::path(qf::i18n::getenv("QBHOST_TEST")).native());
    environment.unset("QBHOST_TEST");
    EXPECT_EQ(u"", qf::i18n::getenv("QBHOST_TEST"));
}

TEST(MessageCatalogTest, ArgumentsAreToldAsTheyStandAndSoIsAnUnknownMessage) {
    auto const textOf = [](std::string const& domain, std::string const& key) {
        rescat::BaseMsgID id(2, domain, key);
        id.setArgument(0, std::string("{1}"));
        id.setArgument(1, ustring(u"string"));
        return to_string(MessageCatalog::get_message(id, qbLocale::global()));
    };
    EXPECT_EQ("The value has the wrong type: the setting holds {1}, the value given is string.",
              textOf("ZENBAR:settings:core", "DataTypeNotMatch"));
    EXPECT_EQ("ZENBAR:settings:core:New: {1}, string", textOf("ZENBAR:settings:core", "New"));
    EXPECT_EQ("elsewhere:DataTypeNotMatch: {1}, string", textOf("elsewhere", "DataTypeNotMatch"));
}

}  // namespace
