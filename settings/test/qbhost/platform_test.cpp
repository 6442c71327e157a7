#include <clocale>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>
#include <qbhost/QbHost.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/Log.hpp>
#include <settingscore/host/Platform.hpp>
#include <settingscore/host/UOStream.hpp>

#include "../support/TempFolder.hpp"

namespace {

/// Everything that can make numbers look foreign, till the end of the scope.
class ForeignNumbers {
public:
    ForeignNumbers() : cpp_(std::locale()), c_(std::setlocale(LC_ALL, nullptr)) {
        struct Facet : std::numpunct<char> {
            char do_decimal_point() const override { return ','; }
            char do_thousands_sep() const override { return '.'; }
            std::string do_grouping() const override { return "\3"; }
        };
        std::locale::global(std::locale(cpp_, new Facet));
        for (char const* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8"}) {
            if (std::setlocale(LC_ALL, name)) break;
        }
    }
    ~ForeignNumbers() {
        std::locale::global(cpp_);
        std::setlocale(LC_ALL, c_.c_str());
    }

private:
    std::locale cpp_;
    std::string c_;
};

std::string format(double value) {
    char buffer[64];
    return qu_g_fmt(quGetFpcContext(), buffer, value);
}

TEST(NumbersTest, DoublesReadBackToTheBitUnderAnyLocale) {
    ForeignNumbers const foreign;
    using Limits = std::numeric_limits<double>;
    for (double const value :
         {0.0, -0.0, 0.1, -1.5, 1.0 / 3, 1e22, 123456789.0, 5e-324, Limits::max(), Limits::min(),
          Limits::infinity(), -Limits::infinity()}) {
        std::string const text = format(value);
        double const back = qu_strtod(quGetFpcContext(), text.c_str(), nullptr, 0);
        EXPECT_EQ(0, std::memcmp(&value, &back, sizeof value)) << text;
    }
    EXPECT_EQ("0.1", format(0.1));
    EXPECT_EQ("nan", format(std::nan("")));
    EXPECT_EQ("-nan", format(std::copysign(std::nan(""), -1.0)));
    EXPECT_EQ("-inf", format(-Limits::infinity()));
}

TEST(NumbersTest, ReadingStopsAtWhatIsNoNumber) {
    ForeignNumbers const foreign;
    struct {
        char const* text;
        double value;
        std::size_t read;
    } const cases[] = {
        {" 2.5e1x", 25, 6}, {"2,5", 2, 1}, {"1.234.567", 1.234, 5}, {"x1", 0, 0}, {"", 0, 0},
    };
    for (auto const& c : cases) {
        char const* end = nullptr;
        EXPECT_EQ(c.value, qu_strtod(quGetFpcContext(), c.text, &end, 0)) << c.text;
        EXPECT_EQ(c.text + c.read, end) << c.text;
    }
}

TEST(NumbersTest, WideStreamsFormatClassically) {
    ForeignNumbers const foreign;
    qf::io::uostream stream;
    stream << u"a " << 1234567 << u" " << 0.5 << u" " << qf::ustring(u"\x20ac");
    EXPECT_EQ(u"a 1234567 0.5 \x20ac", stream.str());
}

TEST(NamesTest, TheRuleOfTheScriptingLanguage) {
    for (std::string const name : {"a", "Z", "a_1", "ends", "End", "x2y"})
        EXPECT_TRUE(zx_array_api::zxIsValidVarName(name)) << name;
    EXPECT_TRUE(zx_array_api::zxIsValidVarName(std::string(63, 'a')));
    for (std::string const name : {"", "_a", "1a", "a b", "a.b", "a-b", "caf\xc3\xa9", "end", "if"})
        EXPECT_FALSE(zx_array_api::zxIsValidVarName(name)) << name;
    EXPECT_FALSE(zx_array_api::zxIsValidVarName(std::string(64, 'a')));
    EXPECT_FALSE(zx_array_api::zxIsValidVarName(std::string("a\0b", 3)));
}

TEST(InstallPathTest, ProgramThenEnvironmentThenTheLibrarysOwnPlace) {
    qbtest::ScopedEnvironment environment;
    environment.unset("QBHOST_ROOT");
    auto const own =
        std::filesystem::path(qf::filesystem::path(qf::filesystem::get_install_path()).native());
    EXPECT_TRUE(std::filesystem::exists(own / "settings/src/settingscore/settings.xsd")) << own;

    environment.set("QBHOST_ROOT", "/from/environment");
    EXPECT_EQ(u"/from/environment", qf::filesystem::get_install_path());
    qbhost::setInstallPath(u"relative/./root");
    auto const expected = std::filesystem::current_path() / "relative/root";
    EXPECT_EQ(qf::filesystem::from_native(expected.string()).str(),
              qf::filesystem::get_install_path());
    qbhost::setInstallPath(u"");
    EXPECT_EQ(u"/from/environment", qf::filesystem::get_install_path());
}

TEST(LibrariesTest, FoldersOfTheHostComeFirst) {
    qbtest::TempFolder folder;
    qbtest::ScopedEnvironment environment;
    environment.set("QBHOST_LIBRARY_PATH", "/nowhere:" + folder.path().string());
    int status = -1;
    void* const library = quGetModule("libm.so.6", &status);
    ASSERT_EQ(0, status) << quLastLibraryError();
    EXPECT_NE(nullptr, quFindSymbolInLibrary(library, "cos"));
    EXPECT_EQ(nullptr, quFindSymbolInLibrary(library, "no_such_function"));
    EXPECT_EQ(nullptr, quFindSymbolInLibrary(library, "accept")) << "that is the C library's";
    EXPECT_EQ(nullptr, quFindSymbolInLibrary(nullptr, "cos"));

    // Found in the host's folder, so that its failure is told and nothing else is tried.
    qbtest::writeFile(folder.path() / "broken.so", "no library");
    EXPECT_EQ(nullptr, quGetModule("broken.so", &status));
    EXPECT_NE(0, status);
    EXPECT_NE(std::string::npos, std::string(quLastLibraryError()).find(folder.path().string()));
    for (char const* const name : {"", static_cast<char const*>(nullptr)}) {
        EXPECT_EQ(nullptr, quGetModule(name, &status));
        EXPECT_NE(0, status);
    }
}

TEST(SignalThreadTest, TheLoadingThreadUnlessTold) {
    auto const elsewhere = [] {
        int result = -1;
        std::thread([&] { result = quIsSignalThread(); }).join();
        return result;
    };
    EXPECT_EQ(1, quIsSignalThread());
    EXPECT_EQ(0, elsewhere());
    std::thread(qbhost::setSignalThreadToThisThread).join();
    EXPECT_EQ(0, quIsSignalThread());
    qbhost::setSignalThread([] { return true; });
    EXPECT_EQ(1, elsewhere());
    qbhost::setSignalThread(nullptr);
    EXPECT_EQ(1, quIsSignalThread());
    EXPECT_EQ(0, elsewhere());
}

TEST(ConsoleTest, SinksTakeOverBothStreams) {
    ForeignNumbers const foreign;
    std::string output;
    std::string error;
    qbhost::setConsole([&](std::string const& text) { output += text; },
                       [&](std::string const& text) { error += text; });
    quPrintf("%s %d %.1f\n", std::string(5000, 'x').c_str(), 7, 0.5);
    quPutsn(0, "a\0bc", 3);
    quPutsn(2, "oops", 4);
    qbhost::setConsole(nullptr, nullptr);
    EXPECT_EQ(std::string(5000, 'x') + " 7 0.5\n" + std::string("a\0b", 3), output);
    EXPECT_EQ("oops", error);

    testing::internal::CaptureStdout();
    quPrintf("to %s", "stdout");
    EXPECT_EQ("to stdout", testing::internal::GetCapturedStdout());
}

TEST(FastExitTest, AProgramMayPutItsOwnInPlace) {
    qbhost::setFastExit([](int status) { throw status; });
    EXPECT_THROW(qf::app::fast_exit(1), int);
    qbhost::setFastExit(nullptr);
    EXPECT_EXIT(qf::app::fast_exit(3), testing::ExitedWithCode(3), "");
}

TEST(LogTest, RecordsReachTheSinkWhileThereIsOne) {
    qf::log::basic_diagnostic_logger<char> const logger("settings::core");
    std::vector<std::tuple<std::string, int, std::string>> records;
    EXPECT_FALSE(logger.is_enabled(1));
    logger.record(1, "lost");
    qbhost::enableLog([&](std::string const& name, int severity, std::string const& text) {
        records.emplace_back(name, severity, text);
        if (text == "bad") throw std::runtime_error("sink");
    });
    EXPECT_TRUE(logger.is_enabled(1));
    logger.record(1, "kept");
    EXPECT_NO_THROW(logger.record(2, "bad"));
    qbhost::enableLog(nullptr);
    logger.record(1, "lost");
    EXPECT_EQ((decltype(records){{"settings::core", 1, "kept"}, {"settings::core", 2, "bad"}}),
              records);
}

}  // namespace
