#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>

#include <settingscore/persistence/DurableSaving.hpp>
#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/tree/ProductWorld.hpp>

// The calls that bring bytes and names to the disk go through this file, so that they can be seen
// and made to fail; where nobody watches they do what they always do.

namespace {

class Calls;
thread_local Calls* watcher = nullptr;

/// Watches the calls of this thread on a folder until the end of the scope; one of them can fail.
class Calls {
public:
    explicit Calls(std::filesystem::path const& folder, std::string failing = {}, int error = 0)
        : folder_(folder.string()), failing_(std::move(failing)), error_(error) {
        watcher = this;
    }
    ~Calls() { watcher = nullptr; }
    Calls(Calls const&) = delete;
    Calls& operator=(Calls const&) = delete;

    /// "CALL FILE", the file as seen from the folder, TEMP for the temporary folder.
    std::vector<std::string> const& seen() const { return seen_; }

    bool passes(std::string const& call, std::string file) {
        if (file.compare(0, folder_.size(), folder_) != 0) return true;
        file.erase(0, folder_.size() + 1);
        if (file.compare(0, 4, "temp") == 0) file.replace(0, file.find('/'), "TEMP");
        seen_.push_back(call + " " + (file.empty() ? "." : file));
        if (seen_.back() != failing_) return true;
        errno = error_;
        return false;
    }
    bool passes(std::string const& call, int descriptor) {
        std::error_code none;
        return passes(
            call, std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), none)
                      .string());
    }

private:
    std::string folder_;
    std::string failing_;
    int error_;
    std::vector<std::string> seen_;
};

template <class Function>
Function* real(char const* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" int fsync(int descriptor) {
    static auto* const call = real<int(int)>("fsync");
    return !watcher || watcher->passes("sync", descriptor) ? call(descriptor) : -1;
}

extern "C" int close(int descriptor) {
    static auto* const call = real<int(int)>("close");
    if (!watcher) return call(descriptor);
    bool const passes = watcher->passes("close", descriptor);
    int const error = errno;
    int const result = call(descriptor);
    if (passes) return result;
    errno = error;
    return -1;
}

extern "C" int chmod(char const* path, mode_t bits) noexcept {
    static auto* const call = real<int(char const*, mode_t)>("chmod");
    return !watcher || watcher->passes("chmod", path) ? call(path, bits) : -1;
}

extern "C" int mkdir(char const* path, mode_t bits) noexcept {
    static auto* const call = real<int(char const*, mode_t)>("mkdir");
    return !watcher || watcher->passes("mkdir", path) ? call(path, bits) : -1;
}

extern "C" int rename(char const* from, char const* to) noexcept {
    static auto* const call = real<int(char const*, char const*)>("rename");
    return !watcher || watcher->passes("rename", to) ? call(from, to) : -1;
}

extern "C" int link(char const* from, char const* to) noexcept {
    static auto* const call = real<int(char const*, char const*)>("link");
    return !watcher || watcher->passes("link", to) ? call(from, to) : -1;
}

namespace {

using namespace settings::core;
using namespace qbtest;
using Files = std::map<std::string, std::string>;
using SaveError = exception::ErrorWriteToTempSettingsFile;

/// Lowers a limit of the process until the end of the scope.
template <class Resource>
class LowerLimit {
public:
    LowerLimit(Resource resource, rlim_t limit) : resource_(resource) {
        ::getrlimit(resource_, &before_);
        rlimit lower = before_;
        lower.rlim_cur = limit;
        ::setrlimit(resource_, &lower);
    }
    ~LowerLimit() { ::setrlimit(resource_, &before_); }
    LowerLimit(LowerLimit const&) = delete;
    LowerLimit& operator=(LowerLimit const&) = delete;

private:
    Resource resource_;
    rlimit before_{};
};

int lowestFreeDescriptor() {
    int const descriptor = ::dup(0);
    ::close(descriptor);
    return descriptor;
}

std::string textOf(SaveError const& error) { return qf::i18n::to_string(error.getReasonStr()); }

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
    static int width() { return valueOf<int>(product(), "width"); }
    /// The files as they are when the width is saved without this mode.
    Files filesByDefault(int width) {
        turnOffDurableSaving();
        setWidth(width);
        turnOnDurableSaving();
        return userFiles();
    }
    void expectFailure(int error) {
        expectThrow<SaveError>([] { setWidth(7); },
                               [&](SaveError const& e) {
                                   EXPECT_EQ(e.getErrorNum(), error);
                                   EXPECT_EQ(e.getCausingFilePath(),
                                             toUString(userFilePath("plot")));
                                   EXPECT_FALSE(e.getReasonStr().empty());
                               });
    }
};

TEST_F(DurableSave, WritesTheSameFilesAndBringsThemToTheDiskInOrder) {
    Files const expected = filesByDefault(6);
    setWidth(5);
    {
        Calls const calls(userDir());
        setWidth(6);
        EXPECT_EQ(calls.seen(),
                  (std::vector<std::string>{"mkdir TEMP", "sync TEMP/plot.settings.tmp",
                                            "close TEMP/plot.settings.tmp", "rename plot.settings",
                                            "sync .", "close ."}));
    }
    EXPECT_EQ(userFiles(), expected);

    // Folders that the save had to make are entries of others.
    std::filesystem::remove_all(userDir());
    environment().set("SETTINGS_USERDIR", (userDir() / "new").string());
    resetInstances();
    Calls const calls(folder());
    setWidth(6);
    EXPECT_EQ(std::vector<std::string>(calls.seen().end() - 7, calls.seen().end()),
              (std::vector<std::string>{"rename user/new/plot.settings", "sync user/new",
                                        "close user/new", "sync user", "close user", "sync .",
                                        "close ."}));
    EXPECT_EQ(readTree(userDir() / "new"), expected);
}

TEST_F(DurableSave, WhateverFailsLeavesTheOldFileAndNothingElse) {
    setWidth(6);
    std::filesystem::permissions(userFilePath("plot"), std::filesystem::perms(0640));
    Files const before = userFiles();
    struct Case {
        char const* call;
        int error;
    };
    for (Case const& c :
         {Case{"chmod TEMP/plot.settings.tmp", EPERM}, Case{"sync TEMP/plot.settings.tmp", EIO},
          Case{"close TEMP/plot.settings.tmp", EDQUOT}, Case{"rename plot.settings", EBUSY},
          Case{"mkdir TEMP", EEXIST}}) {
        SCOPED_TRACE(c.call);
        {
            Calls const calls(userDir(), c.call, c.error);
            expectFailure(c.error);
        }
        EXPECT_EQ(userFiles(), before);
        EXPECT_EQ(width(), 7);
        turnOffSettingsSaving();
        setWidth(6);
        turnOnSettingsSaving();
    }
    {
        LowerLimit const limit(RLIMIT_FSIZE, 100);
        expectFailure(EFBIG);
    }
    EXPECT_EQ(userFiles(), before);
    turnOffSettingsSaving();
    setWidth(6);
    turnOnSettingsSaving();
    {
        LowerLimit const limit(RLIMIT_NOFILE, static_cast<rlim_t>(lowestFreeDescriptor()));
        expectFailure(EMFILE);
    }
    EXPECT_EQ(userFiles(), before);
}

TEST_F(DurableSave, AFolderThatCannotBeSyncedIsToldWithTheNewFileInPlace) {
    Files const expected = filesByDefault(7);
    setWidth(6);
    {
        Calls const calls(userDir(), "sync .", EIO);
        expectFailure(EIO);
    }
    EXPECT_EQ(userFiles(), expected);
}

TEST_F(DurableSave, WithoutItAnIncompleteFileReplacesTheOldOneAndAMissingFolderIsNotTold) {
    setWidth(6);
    std::string const whole = readUserFile("plot");
    turnOffDurableSaving();
    {
        Calls const calls(userDir(), "mkdir TEMP", EEXIST);
        setWidth(8);
        EXPECT_EQ(calls.seen().size(), 1000u);
    }
    EXPECT_EQ(readUserFile("plot"), whole);
    LowerLimit const limit(RLIMIT_FSIZE, 100);
    setWidth(7);
    EXPECT_EQ(userFiles(), (Files{{"plot.settings", whole.substr(0, 100)}}));
}

TEST_F(DurableSave, KeepsThePermissionBits) {
    for (unsigned const bits : {0600U, 0666U, 0644U}) {
        setWidth(6);
        std::filesystem::permissions(userFilePath("plot"), std::filesystem::perms(bits));
        setWidth(7);
        EXPECT_EQ(std::filesystem::status(userFilePath("plot")).permissions(),
                  std::filesystem::perms(bits));
    }
}

TEST_F(DurableSave, AFileThatIsNotWritableIsTold) {
    setWidth(6);
    Files const before = userFiles();
    std::filesystem::permissions(folder(), std::filesystem::perms(0755));
    std::filesystem::permissions(userDir(), std::filesystem::perms(0777));
    std::filesystem::permissions(userFilePath("plot"), std::filesystem::perms(0444));
    {
        Unprivileged const user;
        expectThrow<exception::NoFileWritePermission>(
            [] { setWidth(7); },
            [&](exception::NoFileWritePermission const& e) {
                EXPECT_EQ(e.getCausingObject(), product());
                EXPECT_EQ(e.getLevelName(), "user");
                EXPECT_EQ(e.getLevel().levelName(), "user");
                EXPECT_EQ(e.getCausingFilePath(), toUString(userFilePath("plot")));
                EXPECT_EQ(e.getReasonStr(), u"Permission denied");
            });
    }
    EXPECT_EQ(userFiles(), before);
}

// --- What would not read back -----------------------------------------------------------------

TEST_F(DurableSave, TextsThatWouldNotReadBackAreRefusedWithTheKeysName) {
    setWidth(6);
    Files const before = userFiles();
    struct Case {
        ustring text;
        char const* character;
    };
    for (Case const& c :
         {Case{u"a\u0001b", "U+0001"}, Case{ustring(1, u'\0'), "U+0000"}, Case{u"\x1f", "U+001F"},
          Case{u"line\r\n", "U+000D"}, Case{u"\uFFFE", "U+FFFE"}, Case{u"ok\uFFFF", "U+FFFF"},
          Case{ustring(1, u'\xD83D'), "U+D83D"}, Case{ustring(u"\xDE00\xD83D", 2), "U+DE00"}}) {
        auto const plot = product();
        expectThrow<SaveError>([&] { plot->setAny("title", c.text, "user"); },
                               [&](SaveError const& e) {
                                   EXPECT_EQ(e.getCausingObject(), plot->getChild("title"));
                                   EXPECT_EQ(e.getErrorNum(), EILSEQ);
                                   EXPECT_EQ(textOf(e),
                                             std::string("plot.title has a value that holds ") +
                                                 c.character + ", which would not read back");
                               });
        EXPECT_EQ(userFiles(), before);
        // Taken away, it is in nobody's way.
        plot->unset("title", "user");
        EXPECT_EQ(userFiles(), before);
    }
    std::vector<ustring> const good = {u"", u"tab\tline\n", u"]]>", u"\u0085\u2028\uFFFD",
                                       u"\U0001F600\U0001FFFE"};
    for (ustring const& text : good) {
        product()->setAny("title", text, "user");
        resetInstances();
        EXPECT_EQ(valueOf<ustring>(product(), "title"), text);
    }
}

TEST_F(DurableSave, NodesThatWouldNotReadBackAreRefused) {
    factoryFile("open", "open.settings", "<key name=\"any\" visible=\"true\" anytype=\"true\"/>");
    setWidth(6);
    std::string const byte(1, '\xE4');
    struct Case {
        char const* what;
        std::function<NodePtr()> make;
        std::string reason;
    };
    auto const named = [](std::string const& name) {
        return [name] { return makeKey(name, 1, {}); };
    };
    auto const checked = [](Validator const& validator) {
        return
            [validator] { return boost::make_shared<SettingsImpl>("g", false, true, validator); };
    };
    for (Case const& c : std::vector<Case>{
             {"quote", named("a\"b"), "plot.a\"b has a name with \""},
             {"angle", named("a<b"), "plot.a<b has a name with <"},
             {"entity", named("a&amp;b"), "plot.a&amp;b has a name with &"},
             {"line end", named("a\nb"), "plot.a\nb has a name with U+000A"},
             {"control", named("a\x02"), "plot.a\x02 has a name with U+0002"},
             {"no UTF-8", named("a" + byte),
              "plot.a\u00E4 has a name with bytes that are no UTF-8"},
             {"list",
              [] {
                  return makeKey("list", std::vector<ustring>{u"a", u"\x1b"}, {});
              },
              "plot.list has a value that holds U+001B"},
             {"validator", checked(CValidator("lib'x", "f")),
              "plot.g cannot be written: the function 'lib'x' of it has '"},
             {"nested",
              [] {
                  NodePtr const group = makeGroup("g");
                  NodePtr const inner = makeGroup("h", group);
                  makeKey("k&", 1, inner);
                  return group;
              },
              "plot.g.h.k& has a name with &"},
             {"deep",
              [] {
                  NodePtr const top = makeGroup("g");
                  NodePtr node = top;
                  for (int i = 0; i < 996; ++i)
                      node = makeGroup("g", node);
                  makeKey("k", 1, node);
                  return top;
              },
              ".k is nested too deeply"},
         }) {
        SCOPED_TRACE(c.what);
        Files const before = userFiles();
        NodePtr const node = c.make();
        expectThrow<SaveError>(
            [&] { node->setParent(product()); },
            [&](SaveError const& e) {
                std::string const text = textOf(e);
                EXPECT_TRUE(e.getCausingObject());
                EXPECT_NE(text.find(c.reason + ", which would not read back"), std::string::npos)
                    << text.substr(0, 200);
            });
        EXPECT_EQ(userFiles(), before);
        productImpl()->removeNodeImpl(node);
        EXPECT_EQ(userFiles(), before);
    }
    auto const open = product("open");
    Files const before = userFiles();
    expectThrow<SaveError>(
        [&] {
            open->setAny("any", std::vector<int>{1, 2}, "user");
        },
        [](SaveError const& e) {
            EXPECT_EQ(textOf(e).find("open.any takes values of any type"), 0u);
        });
    EXPECT_EQ(userFiles(), before);
}

// --- Files that were not understood -----------------------------------------------------------

TEST_F(DurableSave, AFileThatWasNotUnderstoodIsKeptAside) {
    setWidth(6);
    std::string const saved = readUserFile("plot");
    std::string const broken = "<settings name=\"plot\">the user's work";
    std::string const stale = settingsXml("plot", keyXml("width", "int32", valueXml("99")));
    Files expected;
    std::string suffix;
    for (std::string const& text : {broken, stale, broken}) {
        userText("plot.settings", text);
        resetInstances();
        EXPECT_THROW(product()->getChildren(), exception::ErrorReadingSettingsData);
        setWidth(7);
        setWidth(6);  // Once is enough.
        expected["plot.settings.rejected" + suffix] = text;
        expected["plot.settings"] = saved;
        EXPECT_EQ(userFiles(), expected);
        suffix = suffix.empty() ? ".2" : ".3";
    }
    resetInstances();
    EXPECT_EQ(width(), 6);
    EXPECT_EQ(SettingsFile::getSettingsTopLevelNodes(implRoot()), std::vector<std::string>{"plot"});
    setWidth(5);
    EXPECT_EQ(userFiles().size(), expected.size());
}

TEST_F(DurableSave, AFileIsKeptAsideForAsLongAsItWasNotReplacedOrRead) {
    std::string const broken = "<settings";
    Files const before{{"plot.settings", broken}};
    userText("plot.settings", broken);
    EXPECT_THROW(product()->getChildren(), exception::ErrorReadingSettingsData);
    for (char const* call : {"link plot.settings.rejected", "sync .", "rename plot.settings"}) {
        SCOPED_TRACE(call);
        Calls const calls(userDir(), call, EIO);
        expectFailure(EIO);
        EXPECT_EQ(userFiles(), before);
        turnOffSettingsSaving();
        setWidth(5);
        turnOnSettingsSaving();
    }
    {
        // A file system that has no links: the file is copied, and the copy brought to the disk.
        Calls const calls(userDir(), "link plot.settings.rejected", EPERM);
        setWidth(6);
        auto const& seen = calls.seen();
        EXPECT_EQ(std::count(seen.begin(), seen.end(), "sync plot.settings.rejected"), 1);
    }
    EXPECT_EQ(readFile(userDir() / "plot.settings.rejected"), broken);

    // Mended by hand and loaded again, a file is what the user wants to have.
    userText("plot.settings", broken);
    resetInstances();
    EXPECT_THROW(product()->getChildren(), exception::ErrorReadingSettingsData);
    userText("plot.settings", settingsXml("plot", keyXml("width", "int32", valueXml("4"))));
    resetInstances();
    EXPECT_EQ(width(), 4);
    setWidth(5);
    // The default save replaces without a word; what it wrote is no file to keep.
    userText("plot.settings", broken);
    resetInstances();
    EXPECT_THROW(product()->getChildren(), exception::ErrorReadingSettingsData);
    filesByDefault(6);
    setWidth(7);
    EXPECT_EQ(userFiles().size(), 2u);
}

}  // namespace
