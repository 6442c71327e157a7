#include <cerrno>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/prefdir/ReleaseMigration.hpp>

#include "PrefDirWorld.hpp"

namespace messages = ZENBAR::settings::core;
using namespace settings::core;
using namespace settings::core::pathutilinternal;
using qbtest::readFile;
using qbtest::readTree;
using qbtest::toUString;
using qbtest::Tree;
using qbtest::writeFile;

namespace {

class ReleaseMigrationTest : public qbtest::PrefDirWorld {
protected:
    /// Creates and fills the current release's directory, as a start of the host does.
    void start() const { getLocalSettingsDirectoryUStr(); }

    /// Runs the action, which is to throw the message.
    template <class Message, class... Arguments>
    static void expectMessage(std::function<void()> const& action, Arguments const&... arguments) {
        try {
            action();
            FAIL() << "nothing thrown";
        } catch (qf::except::Exception<Message, std::exception, void> const& error) {
            EXPECT_TRUE(error.get_msg_id().arguments() == Message(arguments...).arguments());
        }
    }
    /// The text that the console gets for a file that is there already.
    static std::string refused(std::filesystem::path const& file) {
        messages::ErrorOverwriteFileInPrefDir const id(toUString(file));
        return qf::i18n::to_string(
            qf::i18n::MessageCatalog::get_message(id, qf::i18n::qbLocale::global()));
    }
};

TEST_F(ReleaseMigrationTest, NewestOlderReleaseIsTakenOver) {
    struct {
        std::vector<std::string> present;
        char const* disable;
        std::string taken;
    } const cases[] = {
        {{}, "", ""},
        {{"K7715q", "K7715p", "K7714q"}, "1", "K7715q"},
        {{"K7715p", "K7714q"}, "", "K7715p"},
        {{"K7715p", "K7714q"}, "0", ""},
        {{"K7714q"}, "", "K7714q"},
        {{"K7714p", "K7717a"}, "", ""},
    };
    for (auto const& c : cases) {
        std::filesystem::remove_all(homeDir());
        environment().set("DISABLE_PREFCOPY3RELEASES", c.disable);
        for (std::string const& label : c.present)
            writeFile(releaseDir(label) / label, label);
        Tree expected = readTree(homeDir() / ".zenbar");
        expected["K7716p/"] = expected["K7716p/creation.timestamp"] = "";
        if (!c.taken.empty()) expected["K7716p/" + c.taken] = c.taken;
        start();
        EXPECT_EQ(readTree(homeDir() / ".zenbar"), expected);
    }
    // An empty directory ends the search, too, and one that is there is left alone.
    std::filesystem::remove_all(current());
    std::filesystem::create_directories(previous());
    writeFile(releaseDir("K7715p") / "old", "x");
    start();
    writeFile(previous() / "late", "x");
    start();
    EXPECT_EQ(readTree(current()), (Tree{{"creation.timestamp", ""}}));
    EXPECT_EQ(console_, "");
}

TEST_F(ReleaseMigrationTest, CachesLinksToFoldersAndSpecialFilesStayBehind) {
    Tree wanted{{"a/", ""}, {"a/b/", ""}, {"a/addons_cache/", ""}, {"zcc.cache.d/", ""}};
    for (char const* name : {"plotter.settings", "a/b/PLGOPTS", "a/quicklinks",
                             "a/addons_cache/file", ".hidden", "odd \xff\xfe name"}) {
        wanted[name] = std::string("a\0b\xff", 4);
        writeFile(previous() / name, wanted[name]);
    }
    for (char const* name :
         {"addons_cache", "my-zcc.cache-2", "plgopts", "a/trnopts", "a/b/xbuildopts.txt",
          "a/quicklinks.xml", "a/b/old.quicklinks_ja.xml", "zcc.cache.d/zcc.cache"})
        writeFile(previous() / name, "no");
    auto const outside = writeFile(folder() / "outside/secret", "outside");
    for (auto const& [link, to] : {std::pair("folder link", outside.parent_path()),
                                   {"up", previous()},
                                   {"file link", outside},
                                   {"dangling", previous() / "gone"},
                                   {"circle", previous() / "circle"}})
        std::filesystem::create_symlink(to, previous() / link);
    ASSERT_EQ(::mkfifo((previous() / "pipe").c_str(), 0600), 0);
    start();
    wanted["file link"] = "outside";
    wanted["creation.timestamp"] = "";
    EXPECT_EQ(readTree(current()), wanted);
    EXPECT_EQ(console_, "");
}

TEST_F(ReleaseMigrationTest, WalkStopsAtItsOwnTarget) {
    writeFile(previous() / "a/file", "x");
    // Spelled differently from what the walk meets on its way.
    setPreferencesDirectoryUStr(toUString(previous() / "a/./inside/"));
    getPreferencesDirectoryUStr(true);
    Tree const expected{
        {"a/", ""},          {"a/file", "x"},          {"a/inside/", ""},
        {"a/inside/a/", ""}, {"a/inside/a/file", "x"}, {"a/inside/creation.timestamp", ""}};
    EXPECT_EQ(readTree(previous()), expected);
    EXPECT_EQ(copyPrefDir_ustr(toUString(previous()), toUString(previous() / "a/.."), true), 0);
    EXPECT_EQ(readTree(previous()), expected) << "onto itself under another name";
    EXPECT_EQ(console_, "");
}

TEST_F(ReleaseMigrationTest, DirectoryThatCannotBeCreatedIsAWarning) {
    auto const file = writeFile(folder() / "file", "x");
    setPreferencesDirectory((file / "prefs").c_str());
    EXPECT_EQ(getPreferencesDirectoryUStr(true), u"");
    std::string const warning = "Warning: failed to create preference directory " +
                                (file / "prefs").string() + ".\nCheck directory permissions.";
    EXPECT_EQ(console_, warning);

    EXPECT_EQ(ensure_directory_exists_ustr(u""), -1);
    EXPECT_EQ(ensure_directory_exists_ustr(toUString(folder() / "a/b")), 0);
    EXPECT_EQ(ensure_directory_exists_ustr(toUString(folder() / "a")), 1);
    EXPECT_EQ(ensure_directory_exists_ustr(toUString(file)), 1);
    ustring none;
    copyPreferencesFromPreviousPrefdir(false, 1, none);
    copyPreferencesFromPreviousPrefdir(true, 1, none);
    EXPECT_EQ(console_, warning + "Warning: failed to create NULL preference directory. \n");

    environment().set("HOME", file.string());
    EXPECT_EQ(getLocalSettingsDirectoryUStr(), toUString(file / ".zenbar/K7716p"))
        << "all the same";
}

TEST_F(ReleaseMigrationTest, CopyNeedsItsTarget) {
    writeFile(previous() / "file", "x");
    ustring const from = toUString(previous());
    ustring const gone = toUString(folder() / "gone");
    EXPECT_EQ(copyPrefDir_ustr(from, from, false), 0);
    EXPECT_EQ(copyPrefDir_ustr(u"", gone, false), 0);
    EXPECT_EQ(copyPrefDir_ustr(gone, from, false), 2);
    EXPECT_EQ(copyPrefDir_ustr(gone, gone, false), 0);
    expectMessage<messages::PreferenceDirectoryNotExist>([&] { copyFromPreviousRelease(gone); },
                                                         gone, std::strerror(ENOENT));
    EXPECT_FALSE(std::filesystem::exists(folder() / "gone"));
    EXPECT_FALSE(copyDirectoryTree(from, u"", false)) << "the walk is refused";
    expectMessage<messages::ErrorMigratePrefsBetweenReleases>(
        [] { throwPrefMigrationError(u"K7715q", u"K7716p"); }, ustring(u"K7715q"),
        ustring(u"K7716p"));
}

TEST_F(ReleaseMigrationTest, FileThatCannotBeCopiedCostsAMessageAndTheOthersCome) {
    for (char const* name : {"a", "b", "c"})
        writeFile(folder() / "from" / name, name);
    ustring const source = toUString(folder() / "from/b");
    auto const target = writeFile(folder() / "to/b", "there before");
    ustring const to = toUString(folder() / "to");
    EXPECT_EQ(copyPrefDir_ustr(toUString(folder() / "from"), to, false), 0);
    EXPECT_EQ(readTree(folder() / "to"), (Tree{{"a", "a"}, {"b", "there before"}, {"c", "c"}}));
    EXPECT_EQ(console_, refused(target));
    EXPECT_TRUE(copyFile_ustr(source, to, true));
    EXPECT_EQ(readFile(target), "b");
    EXPECT_EQ(console_, refused(target));

    std::filesystem::remove(target);
    std::filesystem::create_directory(target);
    EXPECT_TRUE(copyFile_ustr(source, to, true));
    std::string const all = console_;
    for (ustring const& part : {source, toUString(target)})
        EXPECT_NE(all.find(qf::i18n::to_string(part), refused(target).size()), std::string::npos);
    EXPECT_TRUE(copyFile_ustr(toUString(folder() / "gone"), to, true));
    EXPECT_FALSE(copyFile_ustr(u"", to, true));
    EXPECT_FALSE(copyFile_ustr(source, u"", true));
    EXPECT_EQ(console_, all);
}

TEST_F(ReleaseMigrationTest, ErrorsReachTheCallerAndTheDirectoryIsNotFilledLater) {
    writeFile(previous(), "a file in the place of the folder");
    EXPECT_THROW(start(), qf::filesystem::FsysExceptionBase);
    std::filesystem::remove(previous());
    writeFile(previous() / "plotter.settings", "x");
    EXPECT_NO_THROW(start());
    EXPECT_EQ(readTree(current()), Tree());

    // The copy stays without its timestamp; the mutex is given back, so that the next call returns.
    std::filesystem::create_directories(previous() / "creation.timestamp");
    ustring const prefs = toUString(folder() / "prefs");
    setPreferencesDirectoryUStr(prefs);
    expectMessage<messages::ErrorCreatePreferenceDirectoryTimeStamp>(
        [] { getPreferencesDirectoryUStr(true); }, prefs + u"/creation.timestamp",
        std::strerror(EISDIR));
    EXPECT_EQ(getPreferencesDirectoryUStr(true), prefs);
    EXPECT_EQ(readTree(folder() / "prefs"),
              (Tree{{"creation.timestamp/", ""}, {"plotter.settings", "x"}}));
}

}  // namespace
