#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <thread>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <qbhost/QbHost.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/host/Log.hpp>
#include <settingscore/host/MsgID.hpp>
#include <settingscore/host/Platform.hpp>
#include <settingscore/host/UOStream.hpp>

#include <support/CommaLocale.hpp>
#include <support/TempFolder.hpp>

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
    // a good one, one longer than need be, a surrogate, one too high, the end.
    EXPECT_EQ(to_ustring("\x80|\xe2\x82\xc3\xa9|\xc0\xaf|\xed\xa0\x80|\xf4\x90\x80\x80|\xff\xc3"),
              u"\x80|\xe2\x82\xe9|\xc0\xaf|\xed\xa0\x80|\xf4\x90\x80\x80|\xff\xc3");
    EXPECT_EQ(to_string({0xd800, u'|', 0xd83d, 0xd83d, 0xde00, 0xd83d}),
              "\xef\xbf\xbd|\xef\xbf\xbd\xf0\x9f\x98\x80\xef\xbf\xbd");
}

TEST(PlatformTest, MessagesTellTheirArgumentsAsTheyStand) {
    rescat::BaseMsgID id(2, "ZENBAR:settings:core", "DataTypeNotMatch");
    id.setArgument(0, std::string("{1}"));
    id.setArgument(1, ustring(u"string"));
    EXPECT_EQ(MessageCatalog::get_message(id, qbLocale::global()),
              u"The value has the wrong type: the setting holds {1}, the value given is string.");
}

TEST(PlatformTest, NumbersAreTheSameUnderAnyLocale) {
    qbtest::CommaLocale const comma;
    using Limits = std::numeric_limits<double>;
    std::string texts;
    for (double const value :
         {-0.0, 1.0 / 3, 1e22, 5e-324, Limits::max(), -Limits::infinity(), -std::nan("")}) {
        char text[64];
        texts += qu_g_fmt(quGetFpcContext(), text, value) + std::string(" ");
    }
    EXPECT_EQ(texts, "-0 0.3333333333333333 1e+22 5e-324 1.7976931348623157e+308 -inf -nan ");
    char const* end = nullptr;
    EXPECT_EQ(qu_strtod(quGetFpcContext(), " 1.234.567", &end, 0), 1.234);
    EXPECT_STREQ(end, ".567");
    EXPECT_EQ(qu_strtod(quGetFpcContext(), "2,5", nullptr, 0), 2);
    qf::io::uostream stream;
    stream << u"a " << 1234567 << u" " << 0.5 << u" " << qf::ustring(u"\x20ac");
    EXPECT_EQ(stream.str(), u"a 1234567 0.5 \x20ac");
}

TEST(PlatformTest, NamesFollowTheRuleOfTheScriptingLanguage) {
    std::string legal;
    for (std::string const name : {"", "Z", "_a", "1a", "x2_y", "a.b", "caf\xc3\xa9", "end", "End"})
        legal += zx_array_api::zxIsValidVarName(name) ? name + " " : "";
    EXPECT_EQ(legal, "Z x2_y End ");
    EXPECT_TRUE(zx_array_api::zxIsValidVarName(std::string(63, 'a')));
    EXPECT_FALSE(zx_array_api::zxIsValidVarName(std::string(64, 'a')));
    EXPECT_FALSE(zx_array_api::zxIsValidVarName({"a\0b", 3}));
}

TEST(PlatformTest, ALibraryInTheHostsFolderThatFailsIsToldAndNoOtherTaken) {
    qbtest::TempFolder folder;
    qbtest::ScopedEnvironment environment;
    environment.set("QBHOST_LIBRARY_PATH", "/nowhere:" + folder.path().string());
    qbtest::writeFile(folder.path() / "libm.so.6", "no library");
    int status = 0;
    EXPECT_FALSE(quGetModule("libm.so.6", &status));
    EXPECT_NE(status, 0);
    EXPECT_NE(std::string(quLastLibraryError()).find(folder.path().string()), std::string::npos);
}

/// Run by the next test, in a process of its own.
TEST(PlatformTest, DISABLED_TheCallersVariablesAreNotSeen) {
    for (char const* name : {"SETTINGS_USERDIR", "ZENBAR_PREFDIR", "QBHOST_ROOT"})
        EXPECT_EQ(qf::i18n::getenv(name), ustring()) << name;
    EXPECT_NE(qf::i18n::getenv("HOME"), u"/callers");
    EXPECT_NE(qf::i18n::getenv("HOME"), ustring());
    EXPECT_NE(qf::filesystem::get_install_path(), u"/callers");
    EXPECT_FALSE(quGetModule("libcallers.so", nullptr));
    EXPECT_EQ(std::string(quLastLibraryError()).find("/callers"), std::string::npos);
}

TEST(PlatformTest, AProcessWithMoreRightsThanItsCallerTakesNoFoldersFromHim) {
    qbtest::TempFolder folder;
    auto const program = folder.path() / "program";
    struct ::statvfs disk {};
    ASSERT_EQ(::statvfs(folder.path().c_str(), &disk), 0);
    if (::geteuid() != 0 || (disk.f_flag & ST_NOSUID) != 0) GTEST_SKIP() << "cannot raise rights";
    qbtest::writeFile(folder.path() / "callers/libcallers.so", "no library");
    std::filesystem::copy_file("/proc/self/exe", program);
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
    qbtest::ScopedEnvironment environment;
    environment.set("QBHOST_LIBRARY_PATH", folder.path() / "callers");
    for (char const* name : {"SETTINGS_USERDIR", "ZENBAR_PREFDIR", "QBHOST_ROOT", "HOME"})
        environment.set(name, "/callers");
    for (bool const isRaised : {true, false}) {
        ASSERT_EQ(::chmod(program.c_str(), isRaised ? 04755 : 0755), 0);
        pid_t const child = ::fork();
        if (child == 0) {
            bool const isNobody = ::setgid(65534) == 0 && ::setuid(65534) == 0;
            std::freopen("/dev/null", "w", stdout);
            if (isNobody) {
                ::execl(program.c_str(), "program", "--gtest_also_run_disabled_tests",
                        "--gtest_filter=*TheCallersVariablesAreNotSeen", nullptr);
            }
            std::_Exit(2);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        // Without the rights the variables count.
        EXPECT_EQ(status, isRaised ? 0 : W_EXITCODE(1, 0));
    }
}

TEST(PlatformTest, AProgramMayPutItsOwnInPlace) {
    std::thread(qbhost::setSignalThreadToThisThread).join();
    EXPECT_EQ(quIsSignalThread(), 0);
    qbhost::setSignalThread(nullptr);
    EXPECT_EQ(quIsSignalThread(), 1) << "the thread that loaded the library";

    qbtest::CommaLocale const comma;
    std::string printed;
    qbhost::setConsole([&](std::string const& text) { printed += text; },
                       [&](std::string const& text) { printed += "error: " + text; });
    quPrintf("%s %d %.1f\n", std::string(5000, 'x').c_str(), 7, 0.5);
    quPutsn(0, "a\0bc", 3);
    quPutsn(2, "oops", 4);
    qbhost::setConsole(nullptr, nullptr);
    EXPECT_EQ(printed, std::string(5000, 'x') + " 7 0.5\na" + std::string("\0berror: oops", 13));

    qf::log::basic_diagnostic_logger<char> const logger("settings::core");
    std::string records;
    qbhost::enableLog([&](std::string const& name, int severity, std::string const& text) {
        records += name + std::to_string(severity) + text + " ";
        throw std::runtime_error("sink");
    });
    EXPECT_NO_THROW(logger.record(2, "kept"));
    qbhost::enableLog(nullptr);
    logger.record(1, "lost");
    EXPECT_EQ(records, "settings::core2kept ");
    // A sink may log, and put another one in its own place.
    qbhost::enableLog([&](std::string const&, int severity, std::string const& text) {
        records = text + std::to_string(severity) + " " + records;
        if (severity > 1) return qbhost::enableLog(nullptr);
        logger.record(2, "inner");
    });
    logger.record(1, "outer");
    EXPECT_FALSE(logger.is_enabled(1));
    EXPECT_EQ(records, "inner2 outer1 settings::core2kept ");
}

}  // namespace
