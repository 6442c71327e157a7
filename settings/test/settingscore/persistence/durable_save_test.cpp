#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include <settingscore/persistence/xml/SettingsSaxHandler.hpp>
#include <settingscore/tree/NodeBuilder.hpp>
#include <support/DurableWorld.hpp>

// The calls that bring bytes and names to the disk go through this file, so that they can be seen
// and made to fail by whatever test; where nobody watches they do what they always do.

namespace {

using qbtest::Calls;

/// Calls what the program would have called, if the watcher has no objection to it on `file`.
template <class Result, class File, class... Given>
Result watchedAs(char const* name, File const& file, Result failure, Given... given) {
    auto* const call = reinterpret_cast<Result (*)(Given...)>(::dlsym(RTLD_NEXT, name));
    return !Calls::watcher || Calls::watcher->passes(name, file) ? call(given...) : failure;
}
template <class File, class... Given>
auto watched(char const* name, File const& file, Given... given) {
    return watchedAs<int>(name, file, -1, given...);
}

}  // namespace

extern "C" {
int open(char const* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    mode_t const bits = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return watched("open", path, path, flags, bits);
}
ssize_t read(int descriptor, void* to, std::size_t size) {
    return watchedAs<ssize_t>("read", descriptor, -1, descriptor, to, size);
}
FILE* fopen(char const* path, char const* mode) {
    return watchedAs<FILE*>("fopen", path, nullptr, path, mode);
}
DIR* opendir(char const* path) { return watchedAs<DIR*>("opendir", path, nullptr, path); }
int stat(char const* path, struct stat* info) noexcept { return watched("stat", path, path, info); }
int lstat(char const* path, struct stat* info) noexcept {
    return watched("lstat", path, path, info);
}
int fsync(int descriptor) { return watched("fsync", descriptor, descriptor); }
int chmod(char const* path, mode_t bits) noexcept { return watched("chmod", path, path, bits); }
int mkdir(char const* path, mode_t bits) noexcept { return watched("mkdir", path, path, bits); }
int rename(char const* from, char const* to) noexcept { return watched("rename", to, from, to); }
int renameat2(int fromFolder, char const* from, int toFolder, char const* to,
              unsigned flags) noexcept {
    return watched("renameat2", to, fromFolder, from, toFolder, to, flags);
}
int symlink(char const* text, char const* path) noexcept {
    return watched("symlink", path, text, path);
}
int remove(char const* path) noexcept { return watched("remove", path, path); }
int flock(int descriptor, int operation) noexcept {
    return watched("flock", descriptor, descriptor, operation);
}
int link(char const* from, char const* to) noexcept { return watched("link", to, from, to); }
/// Closes even if it fails.
int close(int descriptor) {
    bool const passes = !Calls::watcher || Calls::watcher->passes("close", descriptor);
    int const error = errno;
    int const result = watched("close", "", descriptor);
    if (passes) return result;
    errno = error;
    return -1;
}
}

namespace {

using namespace qbtest;
using DurableSave = DurableWorld;

/// Does the work with a lower limit of the process.
template <class Resource>
void withLimit(Resource resource, rlim_t limit, Work const& work) {
    rlimit before{};
    ::getrlimit(resource, &before);
    rlimit const lower{limit, before.rlim_max};
    ::setrlimit(resource, &lower);
    work();
    ::setrlimit(resource, &before);
}

TEST_F(DurableSave, WritesTheSameFilesAndBringsThemToTheDiskInOrder) {
    Files const expected = filesByDefault(6);
    setWidth(5);
    {
        Calls const calls(userDir());
        setWidth(6);
        EXPECT_EQ(calls.seen, (Texts{"mkdir TEMP", "chmod TEMP", "fsync TEMP/plot.settings.tmp",
                                     "close TEMP/plot.settings.tmp", "fopen plot.settings",
                                     "rename plot.settings", "fsync .", "close ."}));
    }
    EXPECT_EQ(userFiles(), expected);

    // Folders that the save had to make are entries of others.
    std::filesystem::remove_all(userDir());
    environment().set("SETTINGS_USERDIR", (userDir() / "new").string());
    resetInstances();
    Calls const calls(folder());
    setWidth(6);
    EXPECT_EQ(Texts(calls.seen.end() - 7, calls.seen.end()),
              (Texts{"rename user/new/plot.settings", "fsync user/new", "close user/new",
                     "fsync user", "close user", "fsync .", "close ."}));
    EXPECT_EQ(readTree(userDir() / "new"), expected);
}

TEST_F(DurableSave, WhateverFailsLeavesTheOldFileAndNothingElse) {
    Files const after = filesByDefault(7);
    setWidth(6);
    std::filesystem::permissions(userFilePath("plot"), std::filesystem::perms(0640));
    Files const before = userFiles();
    expectFailureOf("chmod TEMP/plot.settings.tmp", EPERM, before);
    expectFailureOf("fsync TEMP/plot.settings.tmp", EIO, before);
    expectFailureOf("close TEMP/plot.settings.tmp", EDQUOT, before);
    expectFailureOf("rename plot.settings", EBUSY, before);
    expectFailureOf("mkdir TEMP", EEXIST, before);
    expectFailure(EFBIG, before, [](Work const& save) { withLimit(RLIMIT_FSIZE, 100, save); });
    expectFailure(EMFILE, before, [](Work const& save) {
        int const lowestFree = ::dup(0);
        ::close(lowestFree);
        withLimit(RLIMIT_NOFILE, static_cast<rlim_t>(lowestFree), save);
    });
    // A folder that cannot be synced has the new file.
    expectFailureOf("fsync .", EIO, after);
}

TEST_F(DurableSave, WithoutItAnIncompleteFileReplacesTheOldOneAndAMissingFolderIsNotTold) {
    setWidth(6);
    std::string const whole = readUserFile("plot");
    turnOffDurableSaving();
    {
        Calls const calls(userDir(), "mkdir TEMP", EEXIST);
        setWidth(8);
        EXPECT_EQ(calls.seen.size(), 1000u);
    }
    EXPECT_EQ(readUserFile("plot"), whole);
    withLimit(RLIMIT_FSIZE, 100, [] { setWidth(7); });
    EXPECT_EQ(userFiles(), (Files{{"plot.settings", whole.substr(0, 100)}}));
}

TEST_F(DurableSave, NoFolderStaysThatWasMadeAndThenIsOutOfReach) {
    setWidth(6);
    Files const before = userFiles();
    for (auto const& [error, width] : {std::pair(EACCES, 7), {EIO, 8}}) {
        {
            Calls const calls(userDir(), "stat TEMP", error);
            EXPECT_ANY_THROW(setWidth(width));
        }
        EXPECT_EQ(userFiles(), before) << error;
    }
}

TEST_F(DurableSave, KeepsThePermissionBitsAndTellsOfAFileThatIsNotWritable) {
    auto const file = userFilePath("plot");
    setWidth(6);
    std::filesystem::permissions(file, std::filesystem::perms(0666));
    setWidth(7);
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0666));
    std::filesystem::permissions(file, std::filesystem::perms(0444));
    std::filesystem::permissions(folder(), std::filesystem::perms(0755));
    std::filesystem::permissions(userDir(), std::filesystem::perms(0777));
    auto const expectRefused = [&](int value, ustring const& reason) {
        Files const before = userFiles();
        auto const look = [&](exception::NoFileWritePermission const& e) {
            EXPECT_EQ(e.getCausingObject(), product());
            EXPECT_EQ(e.getLevelName(), "user");
            EXPECT_EQ(e.getCausingFilePath(), toUString(file));
            EXPECT_EQ(e.getReasonStr(), reason);
        };
        {
            Unprivileged const user;
            expectThrow<exception::NoFileWritePermission>([&] { setWidth(value); }, look);
        }
        EXPECT_EQ(userFiles(), before);
    };
    expectRefused(8, u"Permission denied");
    // The other mode keeps them too, and says nothing where it cannot.
    std::filesystem::permissions(file, std::filesystem::perms(0600));
    filesByDefault(4);
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));
    {
        Calls const calls(userDir(), "chmod TEMP/plot.settings.tmp", EPERM);
        filesByDefault(3);
    }
    resetInstances();
    EXPECT_EQ(shownAt("plot.width", "user"), "3");
    // Neither mode waits for the other end of a pipe.
    std::filesystem::remove(file);
    ASSERT_EQ(::mkfifo(file.c_str(), 0666), 0);
    expectRefused(9, u"Invalid argument");
    EXPECT_EQ(filesByDefault(5), (Files{{"plot.settings", "special file"}}));
    EXPECT_EQ(shownAt("plot.width"), "5");
}

// --- What would not read back -----------------------------------------------------------------

TEST_F(DurableSave, ValuesThatWouldNotReadBackAreRefusedWithTheirKeysName) {
    factoryFile(
        "open", "open.settings",
        "<key name=\"any\" anytype=\"true\"/>" + intKey("one", "1") + keyXml("text", "string", "") +
            keyXml("list", "int32", valueXml("1"), " minArraySize=\"0\" maxArraySize=\"5\""));
    auto const open = product("open");
    open->setAny("one", 2, "user");
    // Fewer characters than a reader takes, and more bytes.
    ustring text = u"]]>";
    while (text.size() < SettingsSaxHandler::textLimit / 2)
        text += text;
    text.append(text, 0, text.size() / 8);
    Files const before = userFiles();
    for (auto const& [key, value, fault] : std::vector<std::tuple<std::string, any, std::string>>{
             {"text", ustring(1, u'\0'), "has a value that holds U+0000"},
             {"text", ustring(u"line\r\n"), "has a value that holds U+000D"},
             {"text", ustring(u"ok\uFFFE"), "has a value that holds U+FFFE"},
             {"text", ustring(u"\xDE00\xD83D", 2), "has a value that holds U+DE00"},
             {"any", Ints{1, 2}, "takes values of any type, of which a file holds no arrays"},
             {"text", text, "has a value that is too long a text"},
             {"list", Ints(),
              "has an empty array, of which only a key of any size has a form in files"},
         }) {
        auto const set = [&open, key = key, value = value] { open->setAny(key, value, "user"); };
        expectUnwritable(set, "open." + key + " " + fault);
        // Taken away, it is in nobody's way.
        open->unset(key, "user");
        EXPECT_EQ(userFiles(), before);
    }
    // A merge takes value and type of a new key as they come.
    auto const source = makeGroup("open");
    makeKey("late", ustring(u"x"), source)->setDataTypeIndexInternal(7);
    std::string const fault = "open.late has a value of another type than its own";
    expectUnwritable([&] { open->mergeDescendants(source, "user"); }, fault);
    expectUnwritable([&] { open->setAny("one", 3, "user"); }, fault);
}

TEST_F(DurableSave, NodesThatWouldNotReadBackAreRefused) {
    setWidth(6);
    auto const refuse = [&](NodePtr const& child, std::string const& sentence,
                            NodePtr const& parent = productImpl()) {
        expectUnwritable([&] { child->setParent(parent); }, sentence);
        parent->removeNodeImpl(child);
    };
    refuse(makeKey("a\"b", 1, {}), "plot.a\"b has a name with \"");
    refuse(makeKey("a\xE4", 1, {}), "plot.a\u00E4 has a name with bytes that are no UTF-8");
    refuse(makeGroup("a/b"), "a/b has a name that is none of a file", implRoot());
    NodePtr const group = makeGroup("g");
    detail::NodeBuilder(*group).setValidator(CValidator("lib'x", "f"));
    makeKey("k", 1, group);
    refuse(group, "plot.g cannot be written: the function 'lib'x' of it has '");
    NodePtr const top = makeGroup("g");
    NodePtr node = top;
    for (int i = 1; i < 997; ++i)
        node = makeGroup("g", node);
    makeKey("k", 1, node);
    refuse(top, ".k is nested too deeply");
}

// --- Files that were not understood -----------------------------------------------------------

TEST_F(DurableSave, AFileThatWasNotUnderstoodIsKeptAside) {
    setWidth(6);
    Files expected = userFiles();
    for (auto const& [name, text] :
         {std::pair("plot.settings.rejected", std::string("<settings name=\"plot\">the work")),
          {"plot.settings.rejected.2", settingsXml("plot", intKey("width", "99"))}}) {
        loadUserText(text);
        setWidth(7);
        setWidth(6);  // Once is enough.
        expected[name] = text;
        EXPECT_EQ(userFiles(), expected);
    }
}

TEST_F(DurableSave, AFileIsKeptAsideForAsLongAsItWasNotReplacedOrRead) {
    std::string const broken = "<settings";
    std::string const mended = settingsXml("plot", intKey("width", "4"));
    loadUserText(broken);
    Files const files = userFiles();
    for (char const* call : {"link plot.settings.rejected", "fsync .", "rename plot.settings"})
        expectFailureOf(call, EIO, files);
    {
        // A file system that has no links: the file is copied, and the copy brought to the disk.
        Calls const calls(userDir(), "link plot.settings.rejected", EPERM);
        setWidth(7);
        EXPECT_EQ(std::count(calls.seen.begin(), calls.seen.end(), "fsync plot.settings.rejected"),
                  1);
    }
    EXPECT_EQ(readFile(userDir() / "plot.settings.rejected"), broken);

    // Mended and read by another instance, a file is still not all in the memory of this one.
    loadUserText(broken);
    userText("plot.settings", mended);
    qbhost::startInstance(1);
    EXPECT_EQ(valueOf<int>(Settings::getSettingsRoot(1)->getChild("plot"), "width"), 4);
    setWidth(7);
    qbhost::endInstance(1);
    EXPECT_EQ(readFile(userDir() / "plot.settings.rejected.2"), mended);

    // Loaded again, it is what the user wants to have.
    loadUserText(broken);
    userText("plot.settings", mended);
    resetInstances();
    EXPECT_EQ(shownAt("plot.width"), "4");
    setWidth(5);
    // The default save replaces without a word; what it wrote is no file to keep.
    loadUserText(broken);
    filesByDefault(6);
    setWidth(7);
    EXPECT_EQ(userFiles().size(), 3u);
}

}  // namespace
