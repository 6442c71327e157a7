// The parser as the shared library has it: a module that the first file that is not plain loads.
// Each test runs in a process of its own, as a module once loaded stays.

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <boost/numeric/conversion/converter_policies.hpp>
#include <qbhost/QbHost.hpp>
#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/persistence/Markup.hpp>
#include <settingscore/tree/SettingsEvent.hpp>
#include <settingscore/tree/ZSettings.hpp>
#include <settingscore/value/Get.hpp>
#include <support/SettingsXml.hpp>
#include <support/TempFolder.hpp>

namespace {

using namespace settings::core;
using qbtest::readFile;
using qbtest::toUString;
using qbtest::writeFile;

/// Legal behind a root element; the plain reader leaves it to the parser.
char const* const notPlain = "<?for somebody else?>\n";

char const* const noParser = "1 Failed to find SAX plug in.";

std::string keyWith(std::string const& type, std::string const& content) {
    return "<key name=\"k\"><" + type + ">" + content + "</" + type + "></key>\n";
}

/// How the reading of a file ends: what it throws, with the code and detail if it has them.
std::string readingOf(std::function<void()> const& read) {
    using namespace exception;
    try {
        read();
    } catch (ErrorReadingSettingsData const& e) {
        return std::to_string(e.getErrorCode()) + " " + qf::i18n::to_string(e.getDetailErrorMsg());
    } catch (ErrorAddingChildNodeOrKey const&) {
        return "added twice";
    } catch (ErrorMergingNodesWithDiffAttr const&) {
        return "key and group";
    } catch (boost::bad_lexical_cast const&) {
        return "bad_lexical_cast";
    } catch (boost::numeric::positive_overflow const&) {
        return "positive_overflow";
    } catch (qf::filesystem::FsysExceptionBase const& e) {
        return "file error " + std::to_string(e.errorNumber());
    }
    return "read";
}
std::string importOf(std::filesystem::path const& file) {
    return readingOf([&] { Settings::importAsStandaloneObject(toUString(file)); });
}

class ParserModule : public ::testing::Test {
protected:
    ParserModule() {
        ::testing::GTEST_FLAG(death_test_style) = "threadsafe";  // runs the program anew
        for (auto const& [variable, place] :
             {std::pair("SETTINGS_FACTORYDIR", "toolbox"), {"SETTINGS_USERDIR", "user"}}) {
            std::filesystem::create_directories(path() / place);
            environment_.set(variable, (path() / place).string());
        }
        for (std::string const product : {"a", "b", "plain"}) {
            std::string const text =
                qbtest::settingsXml(product, keyWith("int32", "<value>7</value>"));
            writeFile(path() / "toolbox" / product / "p.settings",
                      text + (product == "plain" ? "" : notPlain));
        }
    }
    std::filesystem::path path() const { return folder_.path(); }
    std::filesystem::path write(std::string const& name, std::string const& body,
                                std::string const& attributes = "visible=\"true\"") const {
        return writeFile(path() / name, qbtest::settingsXml("p", body, attributes) + notPlain);
    }
    static int valueIn(std::string const& product) {
        auto const top = Settings::getSettingsRoot(BlessedZcrID)->getChild(product);
        return settingscore::boostany::get<int>(top->getAny("k", ""), false);
    }
    static boost::shared_ptr<ZSettings> newNode(std::string const& name, bool isKey) {
        SettingsProperties properties;
        return boost::dynamic_pointer_cast<ZSettings>(
            ZSettings::createSetting(name, isKey, properties));
    }
    static bool parserIsMapped() {
        return readFile("/proc/self/maps").find("libxerces") != std::string::npos;
    }
    qbtest::ScopedEnvironment& environment() { return environment_; }

private:
    qbtest::TempFolder folder_;
    qbtest::ScopedEnvironment environment_;
};

/// Ends a process with what a test found in it.
[[noreturn]] void endProcess() {
    auto const& result = *::testing::UnitTest::GetInstance()->current_test_info()->result();
    for (int i = 0; i < result.total_part_count(); ++i)
        std::cerr << result.GetTestPartResult(i).summary() << '\n';
    std::exit(result.Failed() ? 1 : 0);
}

/// Does the work in a process that has done nothing before. Has to come first in a test: what
/// stands in front of it is done in both processes.
template <class Work>
void inNewProcess(Work const& work) {
    EXPECT_EXIT((work(), endProcess()), ::testing::ExitedWithCode(0), "");
}

TEST_F(ParserModule, IsLoadedByTheFirstFileThatIsNotPlainAndByNothingBefore) {
    inNewProcess([&] {
        auto const root = ZSettings::getZSettingsRoot(BlessedZcrID);
        EXPECT_EQ(root->getChildren().size(), 3u);
        auto const made = newNode("made", false);
        newNode("k", true)->setParent(made);
        made->setParent(root);
        made->setAny("k", 3, "user");
        auto const file = path() / "exported";
        Settings::exportSettings({made}, toUString(file), "");
        EXPECT_NE(readFile(file).find("<value>3</value>"), std::string::npos);
        // Saved, exported, shipped: all of it is plain.
        EXPECT_EQ(importOf(file), "read");
        EXPECT_EQ(importOf(path() / "user/made.settings"), "read");
        EXPECT_EQ(valueIn("plain"), 7);
        EXPECT_FALSE(parserIsMapped());
        EXPECT_EQ(valueIn("a"), 7);
        EXPECT_TRUE(parserIsMapped());
    });
}

TEST_F(ParserModule, LetsEveryFailureThroughAsItIs) {
    std::string const pathTo = "<additionalpath>other</additionalpath>\n";
    std::string const key = keyWith("int32", "<value>1</value>");
    inNewProcess([&] {
        EXPECT_EQ(importOf(write("good", key)), "read");
        // The parser's own.
        EXPECT_EQ(importOf(writeFile(path() / "broken", "<settings>\n</x>")),
                  "4 LineNum=1  ColNum=11  no declaration found for element 'settings'");
        EXPECT_EQ(importOf(write("unknown", "<x/>")).rfind("4 LineNum=3  ColNum=5  ", 0), 0u);
        EXPECT_EQ(importOf(path() / "missing").rfind("4 LineNum=0  ColNum=0  ", 0), 0u);
        EXPECT_EQ(readingOf([&] { readMarkup(toUString(path() / "broken")); }),
                  "4 LineNum=2  ColNum=3  expected end of tag 'settings'");
        EXPECT_EQ(readingOf([&] { readMarkup(toUString(path() / "missing")); }), "file error 2");
        // What those who hear of the elements throw, with and without a text of the catalogue.
        EXPECT_EQ(importOf(write("content", keyWith("uint8", "<value>70000</value>"))),
                  "5 In a value of type uint8, the text '70000' is not a legal unsigned int8.");
        std::string nested;
        for (int i = 0; i < 1100; ++i)
            nested += "<settings name=\"g\">";
        EXPECT_EQ(importOf(write("nested", nested)),
                  "5 The elements of the settings file are nested too deeply");
        EXPECT_EQ(importOf(write("twice", key + key)), "added twice");
        EXPECT_EQ(importOf(write("version", "", "version=\"4294967296\"")), "bad_lexical_cast");
        EXPECT_EQ(importOf(write("overflow", keyWith("int8", "<value>300</value>"))),
                  "positive_overflow");
        // And what comes behind the parse.
        write("other", keyWith("string", "<value>x</value>"));
        EXPECT_EQ(importOf(write("types", pathTo + key)).front(), '6');
        write("other", "<settings name=\"k\"></settings>");
        EXPECT_EQ(importOf(write("kinds", pathTo + key)), "key and group");
        EXPECT_EQ(importOf(path() / "good"), "read");
    });
}

TEST_F(ParserModule, ServesThreadsThatComeAtOnce) {
    inNewProcess([&] {
        auto const good = write("good", keyWith("int32", "<value>1</value>"));
        auto const bad = writeFile(path() / "bad", "<x/>");
        int const count = 8;
        std::atomic<int> waiting{count};
        std::vector<std::thread> threads;
        for (int i = 0; i < count; ++i) {
            threads.emplace_back([&, i] {
                --waiting;
                while (waiting > 0) {
                }
                EXPECT_EQ(importOf(good), "read");
                EXPECT_EQ(importOf(bad).front(), '4');
                EXPECT_EQ(valueIn(i % 2 == 0 ? "a" : "b"), 7);
            });
        }
        for (auto& thread : threads)
            thread.join();
    });
}

TEST_F(ParserModule, IsLoadedWhileTheTreeIsLocked) {
    inNewProcess([&] {
        auto const root = ZSettings::getZSettingsRoot(BlessedZcrID);
        int heard = 0;
        auto const connection = root->addListener<SettingsEvent>([&](SettingsEvent const&) {
            if (heard++ > 0) return;
            EXPECT_FALSE(parserIsMapped());
            // Of two readers under the listener's lock, one comes from elsewhere.
            std::thread other([] { EXPECT_EQ(valueIn("b"), 7); });
            EXPECT_EQ(valueIn("a"), 7);
            other.join();
        });
        newNode("added", false)->setParent(root);
        EXPECT_GT(heard, 0);
        EXPECT_TRUE(parserIsMapped());
    });
}

TEST_F(ParserModule, IsLoadedInAChildOfAProcessWithThreads) {
    inNewProcess([&] {
        EXPECT_EQ(Settings::getSettingsRoot(BlessedZcrID)->getChildren().size(), 3u);
        std::mutex mutex;
        std::condition_variable changed;
        bool over = false;
        std::thread other([&] {
            std::unique_lock<std::mutex> lock(mutex);
            changed.wait(lock, [&] { return over; });
        });
        pid_t const child = ::fork();
        if (child == 0) {
            ::alarm(60);
            ::_exit(valueIn("a") == 7 && parserIsMapped() ? 0 : 1);
        }
        int status = -1;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
        {
            std::lock_guard<std::mutex> const lock(mutex);
            over = true;
        }
        changed.notify_one();
        other.join();
        EXPECT_FALSE(parserIsMapped());
        EXPECT_EQ(valueIn("a"), 7);
    });
}

/// Reads files when the process has ended but for its static objects.
struct ReaderAtTheEnd {
    ~ReaderAtTheEnd() {
        // Two kinds of end: a parse, and one that fails.
        if (importOf(good) != "read" || importOf(bad).front() != '4') ::_exit(1);
        std::cerr << "read at the end";
    }
    std::filesystem::path good;
    std::filesystem::path bad;
};

TEST_F(ParserModule, ServesStaticObjectsThatOutliveMain) {
    for (bool const readsBefore : {false, true}) {
        EXPECT_EXIT(
            {
                static ReaderAtTheEnd reader;
                reader.good = write("good", keyWith("int32", "<value>1</value>"));
                reader.bad = writeFile(path() / "bad", "<x/>");
                if (readsBefore && valueIn("a") != 7) ::_exit(1);
                std::exit(0);
            },
            ::testing::ExitedWithCode(0), "read at the end");
    }
}

// --- Where it is found ----------------------------------------------------------------------

/// Where the library of this process lies.
std::filesystem::path libraryFolder() {
    Dl_info info{};
    void* const function = ::dlsym(RTLD_DEFAULT, "libqbsettingscore_version");
    if (::dladdr(function, &info) == 0) throw std::runtime_error("the library is not found");
    return std::filesystem::path(info.dli_fname).parent_path();
}

class MovedLibrary : public ParserModule {
protected:
    /// The libraries without the module, in a folder of theirs, which new processes take them from.
    MovedLibrary() {
        if (std::getenv("QB_TEST_MODULE")) return;  // This is the new process.
        auto const from = libraryFolder();
        environment().set("QBHOST_ROOT", QB_SOURCE_DIR);
        environment().set("QB_TEST_MODULE", (from / "qbsettings/libqbsettingsparser.so").string());
        std::filesystem::create_directories(libraries());
        std::filesystem::copy(from / "libqbsettingscore.so.1", libraries());
        environment().set("LD_LIBRARY_PATH", libraries().string());
    }
    std::filesystem::path libraries() const { return path() / "Bücherei der Sätze"; }
};

TEST_F(MovedLibrary, FailsWithoutTheModuleUntilItIsThere) {
    inNewProcess([&] {
        auto const folder = libraryFolder();
        std::filesystem::path const module = std::getenv("QB_TEST_MODULE");
        ASSERT_NE(folder, module.parent_path().parent_path());
        auto const good = write("good", keyWith("int32", "<value>1</value>"));
        std::string log;
        qbhost::enableLog([&](std::string const&, int, std::string const& text) { log += text; });
        EXPECT_EQ(importOf(good), noParser);
        EXPECT_EQ(readingOf([&] { readMarkup(toUString(good)); }), noParser);
        EXPECT_NE(log.find("libqbsettingsparser.so: cannot open"), std::string::npos) << log;
        // No library, one that is no parser, and one of another version.
        auto const place = folder / "qbsettings/libqbsettingsparser.so";
        writeFile(place, "text");
        std::filesystem::copy(QB_TEST_PLUGIN_DIR "/libqbchecks.so", folder / place.filename());
        EXPECT_EQ(importOf(good), noParser);
        auto* const entry = reinterpret_cast<void const* (*)(char const*)>(
            ::dlsym(::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL), "qbsettings_parser"));
        EXPECT_TRUE(entry && !entry("0.1"));
        std::filesystem::remove(place);
        std::filesystem::copy(module, place);
        EXPECT_EQ(importOf(good), "read");
        std::filesystem::remove_all(folder / "qbsettings");
        EXPECT_EQ(importOf(good), "read");
    });
}

TEST_F(MovedLibrary, FindsTheModuleWhereverTheProcessHasGone) {
    if (std::filesystem::exists(libraries())) {
        // Beside the library is as good; and the system is told the way from here.
        std::filesystem::copy(std::getenv("QB_TEST_MODULE"), libraries());
        environment().set("LD_LIBRARY_PATH", std::filesystem::relative(libraries()).string());
    }
    inNewProcess([&] {
        EXPECT_TRUE(libraryFolder().is_relative());
        auto const good = write("good", keyWith("int32", "<value>1</value>"));
        std::filesystem::current_path("/");
        EXPECT_EQ(importOf(good), "read");
    });
}

}  // namespace
