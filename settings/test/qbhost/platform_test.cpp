#include <cmath>
#include <limits>
#include <thread>

#include <gtest/gtest.h>
#include <qbhost/QbHost.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/host/Log.hpp>
#include <settingscore/host/MsgID.hpp>
#include <settingscore/host/Platform.hpp>
#include <settingscore/host/UOStream.hpp>

#include "../support/CommaLocale.hpp"
#include "../support/TempFolder.hpp"

namespace {

using qf::ustring;
using namespace qf::i18n;

TEST(PlatformTest, NarrowTextIsUtf8AndNothingIsLostOnTheWay) {
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

TEST(PlatformTest, MessagesTellTheirArgumentsAsTheyStandAndSoDoUnknownOnes) {
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

TEST(PlatformTest, NumbersAreTheSameUnderAnyLocale) {
    qbtest::CommaLocale const comma;
    using Limits = std::numeric_limits<double>;
    std::string texts;
    for (double const value : {-0.0, 0.1, 1.0 / 3, 1e22, 123456789.0, 5e-324, Limits::max(),
                               -Limits::infinity(), std::nan(""), -std::nan("")}) {
        char text[64];
        texts += qu_g_fmt(quGetFpcContext(), text, value) + std::string(" ");
    }
    EXPECT_EQ(texts,
              "-0 0.1 0.3333333333333333 1e+22 123456789 5e-324 1.7976931348623157e+308 "
              "-inf nan -nan ");
    std::tuple<char const*, double, int> const cases[] = {
        {" 2.5e1x", 25, 6}, {"2,5", 2, 1}, {"1.234.567", 1.234, 5}, {"x1", 0, 0}, {"", 0, 0}};
    for (auto const& [text, value, read] : cases) {
        char const* end = nullptr;
        EXPECT_EQ(qu_strtod(quGetFpcContext(), text, &end, 0), value) << text;
        EXPECT_EQ(end, text + read) << text;
    }
    qf::io::uostream stream;
    stream << u"a " << 1234567 << u" " << 0.5 << u" " << qf::ustring(u"\x20ac");
    EXPECT_EQ(stream.str(), u"a 1234567 0.5 \x20ac");
}

TEST(PlatformTest, NamesFollowTheRuleOfTheScriptingLanguage) {
    std::string legal;
    for (std::string const name :
         {"", "Z", "_a", "1a", "x2_y", "a b", "a.b", "caf\xc3\xa9", "end", "ends", "End", "if"})
        legal += zx_array_api::zxIsValidVarName(name) ? name + " " : "";
    EXPECT_EQ(legal, "Z x2_y ends End ");
    EXPECT_TRUE(zx_array_api::zxIsValidVarName(std::string(63, 'a')));
    for (std::string const& name : {std::string(64, 'a'), std::string("a\0b", 3)})
        EXPECT_FALSE(zx_array_api::zxIsValidVarName(name)) << name;
}

TEST(PlatformTest, TheInstallPathIsTheProgramsThenTheEnvironmentsThenTheLibrarysOwn) {
    using qf::filesystem::get_install_path;
    qbtest::ScopedEnvironment environment;
    environment.unset("QBHOST_ROOT");
    std::filesystem::path const own = qf::filesystem::path(get_install_path()).native();
    EXPECT_TRUE(std::filesystem::exists(own / "settings/src/settingscore/settings.xsd")) << own;
    environment.set("QBHOST_ROOT", "/from/environment");
    EXPECT_EQ(get_install_path(), u"/from/environment");
    qbhost::setInstallPath(u"relative/./root");
    EXPECT_EQ(qf::filesystem::path(get_install_path()).native(),
              std::filesystem::current_path() / "relative/root");
    qbhost::setInstallPath(u"");
    EXPECT_EQ(get_install_path(), u"/from/environment");
}

TEST(PlatformTest, LibrariesComeFromTheHostsFoldersFirst) {
    qbtest::TempFolder folder;
    qbtest::ScopedEnvironment environment;
    environment.set("QBHOST_LIBRARY_PATH", "/nowhere:" + folder.path().string());
    int status = -1;
    void* const library = quGetModule("libm.so.6", &status);
    ASSERT_EQ(status, 0) << quLastLibraryError();
    EXPECT_TRUE(quFindSymbolInLibrary(library, "cos"));
    EXPECT_FALSE(quFindSymbolInLibrary(library, "printf")) << "it is another library's";
    EXPECT_FALSE(quFindSymbolInLibrary(nullptr, "cos"));

    // Found in the host's folder, so that its failure is told and nothing else is tried.
    qbtest::writeFile(folder.path() / "broken.so", "no library");
    EXPECT_FALSE(quGetModule("broken.so", &status));
    EXPECT_NE(std::string(quLastLibraryError()).find(folder.path().string()), std::string::npos);
    for (char const* const name : {"", static_cast<char const*>(nullptr)}) {
        status = 0;
        EXPECT_FALSE(quGetModule(name, &status));
        EXPECT_NE(status, 0);
    }
}

TEST(PlatformTest, AProgramMayPutItsOwnInPlace) {
    int elsewhere = -1;
    auto const askElsewhere = [&] { elsewhere = quIsSignalThread(); };
    std::thread(askElsewhere).join();
    EXPECT_EQ(quIsSignalThread() - elsewhere, 1) << "the loading thread unless told";
    std::thread(qbhost::setSignalThreadToThisThread).join();
    EXPECT_EQ(quIsSignalThread(), 0);
    qbhost::setSignalThread([] { return true; });
    std::thread(askElsewhere).join();
    EXPECT_EQ(elsewhere, 1);
    qbhost::setSignalThread(nullptr);
    EXPECT_EQ(quIsSignalThread(), 1);

    qbhost::setFastExit([](int number) { throw number; });
    EXPECT_THROW(qf::app::fast_exit(1), int);
    qbhost::setFastExit(nullptr);
    EXPECT_EXIT(qf::app::fast_exit(3), testing::ExitedWithCode(3), "");

    qbtest::CommaLocale const comma;
    std::string printed;
    qbhost::setConsole([&](std::string const& text) { printed += text; },
                       [&](std::string const& text) { printed += "error: " + text; });
    quPrintf("%s %d %.1f\n", std::string(5000, 'x').c_str(), 7, 0.5);
    quPutsn(0, "a\0bc", 3);
    quPutsn(2, "oops", 4);
    qbhost::setConsole(nullptr, nullptr);
    EXPECT_EQ(printed, std::string(5000, 'x') + " 7 0.5\na" + std::string("\0berror: oops", 13));
    testing::internal::CaptureStdout();
    quPrintf("to %s", "stdout");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "to stdout");

    qf::log::basic_diagnostic_logger<char> const logger("settings::core");
    std::string records;
    logger.record(1, "lost");
    qbhost::enableLog([&](std::string const& name, int severity, std::string const& text) {
        records += name + std::to_string(severity) + text + " ";
        throw std::runtime_error("sink");
    });
    EXPECT_TRUE(logger.is_enabled(1));
    EXPECT_NO_THROW(logger.record(2, "kept"));
    qbhost::enableLog(nullptr);
    EXPECT_FALSE(logger.is_enabled(1));
    logger.record(1, "lost");
    EXPECT_EQ(records, "settings::core2kept ");
}

}  // namespace
