#include <cerrno>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <qbhost/QbHost.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/prefdir/ReleaseMigration.hpp>

#include "PrefDirWorld.hpp"

namespace messages = ZENBAR::settings::core;
using namespace settings::core;
using namespace settings::core::pathutilinternal;
using qbtest::readFile;
using qbtest::readTree;
using qbtest::toUString;
using qbtest::writeFile;

namespace {

using Tree = std::map<std::string, std::string>;
using Path = std::filesystem::path;

class ReleaseMigrationTest : public qbtest::PrefDirWorld {
protected:
    ReleaseMigrationTest() {
        qbhost::setConsole([this](std::string const& text) { console_ += text; }, {});
    }
    ~ReleaseMigrationTest() override { qbhost::setConsole({}, {}); }

    Path current() const { return releaseDir("K7716p"); }
    Path previous() const { return releaseDir("K7715q"); }
    /// Creates and fills the current release's directory, as a start of the host does.
    void start() const { getLocalSettingsDirectoryUStr(); }
    std::string const& console() const { return console_; }

    /// Runs the action and checks what message id it throws.
    template <class Message>
    static void expectMessage(std::vector<ustring> const& arguments,
                              std::function<void()> const& action) {
        try {
            action();
            FAIL() << "nothing thrown";
        } catch (qf::except::Exception<Message, std::exception, void> const& error) {
            std::vector<ustring> actual;
            for (auto const& argument : error.get_msg_id().arguments()) {
                auto const* narrow = boost::get<std::string>(&argument);
                actual.push_back(narrow ? qf::i18n::to_ustring(*narrow)
                                        : boost::get<ustring>(argument));
            }
            EXPECT_EQ(actual, arguments) << error.get_error_id(error.get_msg_id());
        }
    }
    static ustring errorText(int number) { return qf::i18n::to_ustring(std::strerror(number)); }
    /// The text that the console gets for a message.
    static std::string catalogueText(rescat::BaseMsgID const& id) {
        return qf::i18n::to_string(
            qf::i18n::MessageCatalog::get_message(id, qf::i18n::qbLocale::global()));
    }

private:
    std::string console_;
};

TEST_F(ReleaseMigrationTest, NewestOlderReleaseIsTakenOver) {
    struct Case {
        std::vector<std::string> present;
        char const* disable;
        std::string taken;
    };
    std::vector<Case> const cases{
        {{}, nullptr, ""},
        {{"K7715q", "K7715p", "K7714q"}, nullptr, "K7715q"},
        {{"K7715q", "K7715p", "K7714q"}, "1", "K7715q"},
        {{"K7715p", "K7714q"}, nullptr, "K7715p"},
        {{"K7715p", "K7714q"}, "", "K7715p"},
        {{"K7715p", "K7714q"}, "0", ""},
        {{"K7714q"}, nullptr, "K7714q"},
        {{"K7714q"}, "no", ""},
        {{"K7714p", "K7717a"}, nullptr, ""},
    };
    for (Case const& c : cases) {
        std::filesystem::remove_all(home());
        c.disable ? environment().set("DISABLE_PREFCOPY3RELEASES", c.disable)
                  : environment().unset("DISABLE_PREFCOPY3RELEASES");
        for (std::string const& label : c.present)
            writeFile(releaseDir(label) / label, label);
        start();
        Tree expected{{"creation.timestamp", ""}};
        if (!c.taken.empty()) expected[c.taken] = c.taken;
        EXPECT_EQ(readTree(current()), expected);
        for (std::string const& label : c.present) {
            EXPECT_EQ(readTree(releaseDir(label)), (Tree{{label, label}})) << "sources stay";
        }
    }
    EXPECT_EQ(console(), "");
}

TEST_F(ReleaseMigrationTest, EmptyPreviousDirectoryEndsTheSearch) {
    std::filesystem::create_directories(previous());
    writeFile(releaseDir("K7715p") / "old", "x");
    start();
    EXPECT_EQ(readTree(current()), (Tree{{"creation.timestamp", ""}}));
}

TEST_F(ReleaseMigrationTest, ExistingDirectoryIsLeftAlone) {
    writeFile(previous() / "plotter.settings", "old");
    writeFile(current() / "creation.timestamp", "kept");
    start();
    EXPECT_EQ(readTree(current()), (Tree{{"creation.timestamp", "kept"}}));
}

TEST_F(ReleaseMigrationTest, CachesStayBehindAtEveryDepthButTheirFoldersCome) {
    for (char const* name :
         {"addons_cache", "my-zcc.cache-2", "plgopts", "a/trnopts", "a/b/xbuildopts.txt",
          "a/quicklinks.xml", "a/b/old.quicklinks_ja.xml", "zcc.cache.d/zcc.cache"}) {
        writeFile(previous() / name, "no");
    }
    Tree const wanted{{"plotter.settings", std::string("a\0b\xff", 4)},
                      {"a/", ""},
                      {"a/b/", ""},
                      {"a/b/PLGOPTS", "yes"},
                      {"a/quicklinks", "yes"},
                      {"a/addons_cache/", ""},
                      {"a/addons_cache/file", "yes"},
                      {"zcc.cache.d/", ""},
                      {"trnopts.d/", ""},
                      {".hidden", "yes"},
                      {"odd \xff\xfe name", "yes"}};
    for (auto const& [name, text] : wanted) {
        if (name.back() == '/') {
            std::filesystem::create_directories(previous() / name);
        } else {
            writeFile(previous() / name, text);
        }
    }
    start();
    Tree expected = wanted;
    expected["creation.timestamp"] = "";
    EXPECT_EQ(readTree(current()), expected);
    EXPECT_EQ(console(), "");
}

TEST_F(ReleaseMigrationTest, WalkFollowsNoFolderLinksAndLeavesSpecialFiles) {
    writeFile(folder() / "outside/secret", "outside");
    writeFile(previous() / "real", "real");
    std::filesystem::create_directory_symlink(folder() / "outside", previous() / "folder link");
    std::filesystem::create_directory_symlink(previous(), previous() / "up");
    std::filesystem::create_symlink(folder() / "outside/secret", previous() / "file link");
    std::filesystem::create_symlink(previous() / "gone", previous() / "dangling");
    std::filesystem::create_symlink(previous() / "circle", previous() / "circle");
    ASSERT_EQ(::mkfifo((previous() / "pipe").c_str(), 0600), 0);
    start();
    EXPECT_EQ(readTree(current()),
              (Tree{{"creation.timestamp", ""}, {"real", "real"}, {"file link", "outside"}}));
    EXPECT_EQ(console(), "");
}

TEST_F(ReleaseMigrationTest, WalkStopsAtItsOwnTarget) {
    writeFile(previous() / "a/file", "x");
    // Spelled differently from what the walk meets on its way.
    ustring const target = toUString(previous() / "a/./inside/");
    setPreferencesDirectoryUStr(target);
    EXPECT_EQ(getPreferencesDirectoryUStr(true), target);
    EXPECT_EQ(readTree(previous()), (Tree{{"a/", ""},
                                          {"a/file", "x"},
                                          {"a/inside/", ""},
                                          {"a/inside/a/", ""},
                                          {"a/inside/a/file", "x"},
                                          {"a/inside/creation.timestamp", ""}}));

    Tree const before = readTree(previous());
    EXPECT_EQ(copyPrefDir_ustr(toUString(previous()), toUString(previous() / "a/.."), true), 0);
    EXPECT_EQ(readTree(previous()), before) << "onto itself under another name";
    EXPECT_EQ(copyPrefDir_ustr(toUString(previous() / "a"), toUString(previous() / "a/."), true),
              0);
    EXPECT_EQ(console(), "");
}

TEST_F(ReleaseMigrationTest, DirectoryThatCannotBeCreatedIsAWarning) {
    writeFile(folder() / "file", "x");
    std::string const directory = (folder() / "file/prefs").string();
    setPreferencesDirectory(directory.c_str());
    EXPECT_EQ(getPreferencesDirectoryUStr(true), u"");
    EXPECT_EQ(console(), "Warning: failed to create preference directory " + directory +
                             ".\nCheck directory permissions.");

    environment().set("HOME", (folder() / "file").string());
    EXPECT_EQ(getLocalSettingsDirectoryUStr(), toUString(folder() / "file/.zenbar/K7716p"))
        << "the path is told all the same";
    EXPECT_EQ(readTree(folder()), (Tree{{"file", "x"}, {"home/", ""}}));
}

TEST_F(ReleaseMigrationTest, EnsureTellsCreatedThereAndFailed) {
    EXPECT_EQ(ensure_directory_exists_ustr(u""), -1);
    EXPECT_EQ(ensure_directory_exists_ustr(toUString(folder() / "a/b")), 0);
    EXPECT_EQ(ensure_directory_exists_ustr(toUString(folder() / "a/b")), 1);
    EXPECT_EQ(ensure_directory_exists_ustr(toUString(folder() / "a")), 1);
    writeFile(folder() / "file", "x");
    EXPECT_EQ(ensure_directory_exists_ustr(toUString(folder() / "file")), 1);
    EXPECT_EQ(ensure_directory_exists_ustr(toUString(folder() / "file/b")), -1);
    EXPECT_EQ(ensure_directory_exists_ustr(ustring(1, u'/') + ustring(5000, u'x')), -1);

    ustring none;
    copyPreferencesFromPreviousPrefdir(false, 1, none);
    EXPECT_EQ(console(), "");
    copyPreferencesFromPreviousPrefdir(true, 1, none);
    EXPECT_EQ(console(), "Warning: failed to create NULL preference directory. \n");
}

TEST_F(ReleaseMigrationTest, CopyNeedsItsTarget) {
    writeFile(previous() / "file", "x");
    ustring const from = toUString(previous());
    ustring const gone = toUString(folder() / "gone");
    EXPECT_EQ(copyPrefDir_ustr(from, from, false), 0);
    EXPECT_EQ(copyPrefDir_ustr(u"", gone, false), 0);
    EXPECT_EQ(copyPrefDir_ustr(gone, from, false), 2);
    EXPECT_EQ(copyPrefDir_ustr(gone, gone, false), 0);
    expectMessage<messages::PreferenceDirectoryNotExist>(
        {gone, errorText(ENOENT)}, [&] { copyPrefDir_ustr(from, gone, false); });
    expectMessage<messages::PreferenceDirectoryNotExist>({gone, errorText(ENOENT)},
                                                         [&] { copyFromPreviousRelease(gone); });
    EXPECT_FALSE(std::filesystem::exists(folder() / "gone"));
}

TEST_F(ReleaseMigrationTest, WalkThatIsRefusedEndsAndIsNamed) {
    writeFile(previous() / "file", "x");
    EXPECT_FALSE(copyDirectoryTree(toUString(previous()), u"", false));
    expectMessage<messages::ErrorMigratePrefsBetweenReleases>(
        {u"K7715q", u"K7716p"}, [] { throwPrefMigrationError(u"K7715q", u"K7716p"); });
}

TEST_F(ReleaseMigrationTest, FileThatCannotBeCopiedCostsAMessage) {
    Path const source = writeFile(folder() / "from/file", "new");
    Path const target = writeFile(folder() / "to/file", "old");
    Path const to = target.parent_path();
    std::string const refused =
        catalogueText(messages::ErrorOverwriteFileInPrefDir(toUString(target)));

    EXPECT_TRUE(copyFile_ustr(toUString(source), toUString(to), false));
    EXPECT_EQ(console(), refused);
    EXPECT_EQ(readFile(target), "old");

    EXPECT_TRUE(copyFile_ustr(toUString(source), toUString(to), true));
    EXPECT_EQ(console(), refused);
    EXPECT_EQ(readFile(target), "new");

    std::filesystem::remove(target);
    std::filesystem::create_directory(target);
    EXPECT_TRUE(copyFile_ustr(toUString(source), toUString(to), true));
    std::string const failed = console().substr(refused.size());
    for (std::string const& part : {source.string(), target.string()}) {
        EXPECT_NE(failed.find(part), std::string::npos) << failed;
    }

    EXPECT_TRUE(copyFile_ustr(toUString(folder() / "gone"), toUString(to), true));
    EXPECT_FALSE(copyFile_ustr(u"", toUString(to), true));
    EXPECT_FALSE(copyFile_ustr(toUString(source), u"", true));
    EXPECT_EQ(console(), refused + failed);
    EXPECT_EQ(readTree(to), (Tree{{"file/", ""}}));
}

TEST_F(ReleaseMigrationTest, OneBadFileDoesNotStopTheMigration) {
    for (char const* name : {"a", "b", "c"})
        writeFile(folder() / "from" / name, name);
    writeFile(folder() / "to/b", "there before");
    EXPECT_EQ(copyPrefDir_ustr(toUString(folder() / "from"), toUString(folder() / "to"), false), 0);
    EXPECT_EQ(readTree(folder() / "to"), (Tree{{"a", "a"}, {"b", "there before"}, {"c", "c"}}));
    EXPECT_EQ(console(),
              catalogueText(messages::ErrorOverwriteFileInPrefDir(toUString(folder() / "to/b"))));
}

TEST_F(ReleaseMigrationTest, FolderErrorsReachTheCallerAndTheDirectoryIsNotFilledLater) {
    writeFile(previous(), "a file in the place of the folder");
    EXPECT_THROW(start(), qf::filesystem::FsysExceptionBase);
    EXPECT_EQ(readTree(current()), Tree());

    std::filesystem::remove(previous());
    writeFile(previous() / "file", "x");
    EXPECT_NO_THROW(start());
    EXPECT_EQ(readTree(current()), Tree());

    std::filesystem::create_directories(folder() / "from/a/b");
    writeFile(folder() / "to/a", "a file in the place of the folder");
    EXPECT_THROW(copyPrefDir_ustr(toUString(folder() / "from"), toUString(folder() / "to"), false),
                 qf::filesystem::FsysExceptionBase);
    EXPECT_EQ(readTree(folder() / "to"), (Tree{{"a", "a file in the place of the folder"}}));
}

TEST_F(ReleaseMigrationTest, TimestampThatCannotBeWrittenLeavesTheCopy) {
    writeFile(previous() / "plotter.settings", "x");
    std::filesystem::create_directories(previous() / "creation.timestamp");
    expectMessage<messages::ErrorCreatePreferenceDirectoryTimeStamp>(
        {toUString(current() / "creation.timestamp"), errorText(EISDIR)}, [this] { start(); });
    EXPECT_EQ(readTree(current()), (Tree{{"creation.timestamp/", ""}, {"plotter.settings", "x"}}));
}

// The mutex is given back on every way out: the next caller does not hang.
TEST_F(ReleaseMigrationTest, FailedCreationLetsTheNextCallerIn) {
    writeFile(previous(), "a file in the place of the folder");
    setPreferencesDirectoryUStr(toUString(folder() / "prefs"));
    EXPECT_THROW(getPreferencesDirectoryUStr(true), qf::filesystem::FsysExceptionBase);
    EXPECT_EQ(getPreferencesDirectoryUStr(true), toUString(folder() / "prefs"));
}

}  // namespace
