#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>

#include <settingscore/persistence/DurableSaving.hpp>
#include <settingscore/persistence/xml/SettingsSaxHandler.hpp>
#include <support/ParserMemory.hpp>
#include <support/ProductWorld.hpp>

// The calls that bring bytes and names to the disk go through this file, so that they can be seen
// and made to fail; where nobody watches they do what they always do.

namespace {

/// Watches the calls of this thread on a folder until the end of the scope; one of them can fail.
struct Calls {
    explicit Calls(std::filesystem::path const& place, std::string call = {}, int number = 0)
        : folder(place.string()), failing(std::move(call)), error(number) {
        watcher = this;
    }
    ~Calls() { watcher = nullptr; }

    bool passes(std::string const& call, std::string file) {
        if (file.compare(0, folder.size(), folder) != 0) return true;
        file.erase(0, folder.size() + 1);
        if (file.compare(0, 4, "temp") == 0) file.replace(0, file.find('/'), "TEMP");
        std::string const what = call + " " + (file.empty() ? "." : file);
        if (call != "stat" && call != "open" && call != "read") seen.push_back(what);
        if (what != failing) return true;
        // A signal interrupts once.
        if (error == EINTR) failing.clear();
        errno = error;
        return false;
    }
    bool passes(std::string const& call, int descriptor) {
        std::error_code none;
        auto const link = "/proc/self/fd/" + std::to_string(descriptor);
        return passes(call, std::filesystem::read_symlink(link, none).string());
    }

    static thread_local Calls* watcher;
    std::string const folder;
    std::string failing;
    int const error;
    /// "CALL FILE", the file as seen from the folder, TEMP for the temporary folder. What only
    /// looks is not noted.
    std::vector<std::string> seen;
};
thread_local Calls* Calls::watcher = nullptr;

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
int stat(char const* path, struct stat* info) noexcept { return watched("stat", path, path, info); }
int fsync(int descriptor) { return watched("fsync", descriptor, descriptor); }
int chmod(char const* path, mode_t bits) noexcept { return watched("chmod", path, path, bits); }
int mkdir(char const* path, mode_t bits) noexcept { return watched("mkdir", path, path, bits); }
int rename(char const* from, char const* to) noexcept { return watched("rename", to, from, to); }
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
using Files = std::map<std::string, std::string>;
using SaveError = exception::ErrorWriteToTempSettingsFile;
using Work = std::function<void()>;

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

class DurableSave : public ProductWorld {
protected:
    DurableSave() {
        installPlot();
        // A file that grows beyond its limit is to be an error, not the end of the process.
        std::signal(SIGXFSZ, SIG_IGN);
        turnOnDurableSaving();
    }
    ~DurableSave() override { turnOffDurableSaving(); }

    static void setWidth(int width) { product()->setAny("width", width, "user"); }
    /// The files as they are when the width is saved without this mode.
    Files filesByDefault(int width) {
        turnOffDurableSaving();
        setWidth(width);
        turnOnDurableSaving();
        return userFiles();
    }
    /// Loads the text as the user's file; what is no settings file is told.
    void loadUserText(std::string const& text) {
        userText("plot.settings", text);
        resetInstances();
        EXPECT_THROW(product()->getChildren(), exception::ErrorReadingSettingsData);
    }
    /// Sets the width from 6 to 7 where `failing` lets the save fail, and looks at what is left;
    /// the memory, which keeps the value, is set back.
    void expectFailure(int error, Files const& left, std::function<void(Work const&)> failing) {
        auto const look = [&](SaveError const& e) {
            EXPECT_EQ(e.getErrorNum(), error);
            EXPECT_EQ(e.getCausingFilePath(), toUString(userFilePath("plot")));
        };
        failing([&] { expectThrow<SaveError>([] { setWidth(7); }, look); });
        EXPECT_EQ(userFiles(), left);
        EXPECT_EQ(shownAt("plot.width"), "7");
        turnOffSettingsSaving();
        setWidth(6);
        turnOnSettingsSaving();
    }
    void expectFailureOf(std::string const& call, int error, Files const& left) {
        SCOPED_TRACE(call);
        expectFailure(error, left, [&](Work const& save) {
            Calls const calls(userDir(), call, error);
            save();
        });
    }
    /// The save is refused with the sentence, which begins with the name of the node at fault.
    void expectUnwritable(Work const& save, std::string const& sentence) {
        Files const before = userFiles();
        expectThrow<SaveError>(save, [&](SaveError const& e) {
            std::string const text = qf::i18n::to_string(e.getReasonStr());
            ustring const name = qf::i18n::to_ustring(e.getCausingObject()->getFullName());
            EXPECT_EQ(e.getReasonStr().rfind(name + u" ", 0), 0u) << text;
            EXPECT_NE(text.find(sentence + ", which would not read back"), std::string::npos)
                << text.substr(0, 200) << " is not " << sentence;
            EXPECT_EQ(e.getErrorNum(), EILSEQ);
        });
        EXPECT_EQ(userFiles(), before);
    }
};

TEST_F(DurableSave, WritesTheSameFilesAndBringsThemToTheDiskInOrder) {
    Files const expected = filesByDefault(6);
    setWidth(5);
    {
        Calls const calls(userDir());
        setWidth(6);
        EXPECT_EQ(calls.seen, (Texts{"mkdir TEMP", "fsync TEMP/plot.settings.tmp",
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
        "<key name=\"any\" anytype=\"true\"/>" + intKey("one", "1") + keyXml("late", "int32", "") +
            keyXml("text", "string", "") +
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
    // A merge takes the first value of a key unchecked.
    auto const source = makeGroup("open");
    makeKey("late", ustring(u"x"), source);
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
    group->setValidatorInternal(CValidator("lib'x", "f"));
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

// --- Files that could not be read for a while ---------------------------------------------------

class DurableSaveOfAnUnreadFile : public DurableSave {
protected:
    ~DurableSaveOfAnUnreadFile() override { qbhost::setInstallPath({}); }
    DurableSaveOfAnUnreadFile() {
        setWidth(6);
        good_ = userFiles();
        resetInstances();
    }
    /// The first touch of the product reports the user's file with that at the end of the line.
    void expectReported(std::string const& end) const {
        auto const look = [&](exception::ErrorReadingSettingsData const& e) {
            std::string const text = qf::i18n::to_string(e.getDetailErrorMsg());
            std::size_t const line = text.find(userFilePath("plot").string() + "\t");
            ASSERT_NE(line, std::string::npos) << text;
            EXPECT_EQ(text.rfind(end, text.find('\n', line)) + end.size(), text.find('\n', line))
                << text;
        };
        expectThrow<exception::ErrorReadingSettingsData>([] { product()->getChildren(); }, look);
    }
    /// The save that adding a group makes is refused with the error and a reason that has the parts
    /// in it.
    void expectRefused(int error, Texts const& parts) {
        auto const look = [&](SaveError const& e) {
            EXPECT_EQ(e.getErrorNum(), error);
            EXPECT_EQ(e.getCausingFilePath(), toUString(userFilePath("plot")));
            EXPECT_EQ(e.getCausingObject(), product());
            std::string const text = qf::i18n::to_string(e.getReasonStr());
            for (std::string const& part : parts)
                EXPECT_NE(text.find(part), std::string::npos) << text << " lacks " << part;
        };
        NodePtr const group = makeGroup("g");
        expectThrow<SaveError>([&] { group->setParent(productImpl()); }, look);
        turnOffSettingsSaving();
        productImpl()->removeNodeImpl(group);
        turnOnSettingsSaving();
        Calls* const calls = std::exchange(Calls::watcher, nullptr);
        EXPECT_EQ(userFiles(), good_);
        Calls::watcher = calls;
    }
    /// Saves until a new root are refused though the file can be read; the new root has its values.
    void expectGoodInANewRoot(int error) {
        expectRefused(error, {"can be read now", "new root"});
        resetInstances();
        EXPECT_EQ(shownAt("plot.width"), "6");
        setWidth(7);
        setWidth(6);
        EXPECT_EQ(userFiles(), good_);
    }
    Files good_;
};

TEST_F(DurableSaveOfAnUnreadFile, IsRefusedUntilANewRootHasReadIt) {
    std::string const unreadable = " (unreadable at this time)";
    for (auto const& [call, error, reason] : std::vector<std::tuple<std::string, int, std::string>>{
             {"open plot.settings", EMFILE, "Too many open files"},
             {"open plot.settings", ENFILE, "Too many open files in system"},
             {"read plot.settings", EIO, "Input/output error"},
             {"read plot.settings", ENOMEM, "Cannot allocate memory"}}) {
        SCOPED_TRACE(call + " " + reason);
        resetInstances();
        {
            Calls const calls(userDir(), call, error);
            expectReported("'" + userFilePath("plot").string() + "': " + reason + unreadable);
            expectRefused(error, {"cannot be read at this time", reason});
        }
        {
            Calls const calls(userDir(), call, EIO);
            expectRefused(EIO, {"cannot be read at this time", "Input/output error"});
        }
        expectGoodInANewRoot(EIO);
    }
}

TEST_F(DurableSaveOfAnUnreadFile, IsRefusedWhateverItWasThatTheReadLacked) {
    // The schema.
    qbhost::setInstallPath(toUString(folder() / "none"));
    expectReported("No such file or directory");
    expectRefused(ENOENT, {"cannot be read at this time", "settings.xsd"});
    qbhost::setInstallPath({});
    expectGoodInANewRoot(ENOENT);
    // Memory of the parser.
    resetInstances();
    product();
    ParserMemory::suffices(50, [&] { expectReported("std::bad_alloc"); });
    expectGoodInANewRoot(ENOMEM);
    // Another file that the file names.
    userText("more", settingsXml("plot", intKey("more", "1")));
    userText("plot.settings",
             settingsXml("plot", "<additionalpath>more</additionalpath>" + intKey("width", "6")));
    good_ = userFiles();
    resetInstances();
    {
        Calls const calls(userDir(), "read more", EIO);
        EXPECT_THROW(product()->getChildren(), exception::ErrorReadingSettingsData);
        expectRefused(EIO, {"/more'"});
    }
    expectRefused(EIO, {"can be read now"});
}

TEST_F(DurableSaveOfAnUnreadFile, GoesOnWhereNothingCanBeLost) {
    auto const failToLoad = [&] {
        resetInstances();
        Calls const calls(userDir(), "open plot.settings", EIO);
        EXPECT_THROW(product()->getChildren(), exception::ErrorReadingSettingsData);
    };
    // It turns out to be defective.
    failToLoad();
    userText("plot.settings", "<settings");
    setWidth(6);
    Files expected = good_;
    expected["plot.settings.rejected"] = "<settings";
    EXPECT_EQ(userFiles(), expected);
    // It is gone.
    failToLoad();
    std::filesystem::remove(userFilePath("plot"));
    setWidth(6);
    EXPECT_EQ(userFiles(), expected);
    // It was replaced by this tree in the meantime, which the default does as ever.
    failToLoad();
    filesByDefault(5);
    setWidth(6);
    EXPECT_EQ(userFiles(), expected);
    // Another tree has read it; that saves, and this one has its values no more than before.
    failToLoad();
    qbhost::startInstance(1);
    Settings::getSettingsRoot(1)->getChild("plot")->setAny("width", 9, "user");
    good_ = userFiles();
    EXPECT_EQ(good_.size(), 2u);
    expectRefused(EIO, {"can be read now"});
    qbhost::endInstance(1);
}

TEST_F(DurableSaveOfAnUnreadFile, ASignalIsNoReason) {
    for (std::string const call : {"open plot.settings", "read plot.settings"}) {
        resetInstances();
        Calls const calls(userDir(), call, EINTR);
        EXPECT_EQ(shownAt("plot.width"), "6");
    }
    for (std::string const call : {"fopen plot.settings", "fsync TEMP/plot.settings.tmp"}) {
        for (int const width : {7, 6}) {
            Calls const calls(userDir(), call, EINTR);
            setWidth(width);
        }
    }
    EXPECT_EQ(userFiles(), good_);
}

}  // namespace
