#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <settingscore/host/Filesystem.hpp>

#include "../support/TempFolder.hpp"

namespace {

using namespace qf::filesystem;
using qbtest::readFile;
using qbtest::writeFile;
using qf::ustring;

TEST(PathTest, Parts) {
    struct {
        char16_t const* text;
        char16_t const* parent;
        char16_t const* filename;
        char16_t const* extension;
    } const cases[] = {
        {u"", u"", u"", u""},
        {u"/", u"/", u"", u""},
        {u"/a", u"/", u"a", u""},
        {u"a.b.c", u"", u"a.b.c", u".c"},
        {u"/x//y.d/f", u"/x//y.d", u"f", u""},
        {u"x//f.t", u"x", u"f.t", u".t"},
        {u"x/", u"x", u"", u""},
        {u"x/.settings", u"x", u".settings", u""},
        {u"x/.a.b", u"x", u".a.b", u".b"},
        {u"x/a.", u"x", u"a.", u"."},
        {u"x/..", u"x", u"..", u""},
    };
    for (auto const& c : cases) {
        path const p(c.text);
        EXPECT_EQ(c.parent, p.parent_path().str()) << p.native();
        EXPECT_EQ(c.filename, p.filename().str()) << p.native();
        EXPECT_EQ(c.extension, p.extension()) << p.native();
    }
}

TEST(PathTest, JoiningPutsOneSeparator) {
    struct {
        char16_t const* left;
        char16_t const* right;
        char16_t const* joined;
    } const cases[] = {
        {u"a", u"b", u"a/b"}, {u"a//", u"/b/", u"a/b/"}, {u"/", u"b", u"/b"},
        {u"", u"/b", u"/b"},  {u"a/", u"", u"a/"},       {u"a", u"/", u"a"},
    };
    for (auto const& c : cases)
        EXPECT_EQ(c.joined, (path(c.left) / path(c.right)).str());
}

TEST(PathTest, MadeAbsoluteByText) {
    EXPECT_EQ(u"/a/c", absolute(u"/a/./b/../c/", u"/x").str());
    EXPECT_EQ(u"/x/a", absolute(u"a", u"/x/").str());
    EXPECT_EQ(u"/", absolute(u"../../..", u"/x").str());
    auto const working = from_native(std::filesystem::current_path().string());
    EXPECT_EQ((working / u"r" / u"a").str(), absolute(u"a", u"r").str());
}

TEST(PathTest, OddBytesComeBack) {
    for (std::string const bytes : {"caf\xe9", "\xed\xa0\x80", "\xc3\xa9\xff\xc3", "\xf0\x9f\x98"})
        EXPECT_EQ(bytes, from_native(bytes).native());
    // Paths that differ name different files, even those that no folder listing can give.
    EXPECT_NE(path(ustring{0xd800}).native(), path(ustring{0xd801}).native());
}

class FilesystemTest : public testing::Test {
protected:
    path at(std::string const& name) const { return from_native((folder_.path() / name).string()); }
    std::filesystem::path std_at(std::string const& name) const { return folder_.path() / name; }
    void file(std::string const& name, std::string const& text = "x") {
        writeFile(std_at(name), text);
    }
    /// The error number with which `function` fails, 0 if it doesn't.
    template <class Function>
    int errorOf(Function function) {
        try {
            function();
        } catch (FsysExceptionBase const& e) {
            EXPECT_NE(std::string::npos, std::string(e.what()).find(e.reason()));
            return e.errorNumber();
        }
        return 0;
    }

private:
    qbtest::TempFolder folder_;
};

TEST_F(FilesystemTest, ListingIsOrderedByBytesAndOpensOddNames) {
    std::vector<std::string> const names = {".hidden", "B", "a", "a.b", "b", "\xc3\xa9", "\xe9"};
    for (auto name = names.rbegin(); name != names.rend(); ++name)
        file(*name, *name);
    std::vector<std::string> listed;
    for (auto const& entry : basic_directory_iterator(at("."))) {
        listed.push_back(path(entry.filename()).native());
        EXPECT_EQ(unsigned(regular_file), entry.status());
        EXPECT_EQ(listed.back(), readFile(entry.full_pathname().native()));
    }
    EXPECT_EQ(names, listed);
    EXPECT_EQ(ENOENT, errorOf([&] { basic_directory_iterator it(at("missing")); }));
    EXPECT_EQ(ENOTDIR, errorOf([&] { basic_directory_iterator it(at("a")); }));
}

TEST_F(FilesystemTest, StatusTellsLinksFromWhatTheyLeadTo) {
    file("file");
    std::filesystem::create_directory(std_at("folder"));
    std::filesystem::create_symlink("file", std_at("to-file"));
    std::filesystem::create_symlink("folder", std_at("to-folder"));
    std::filesystem::create_symlink("missing", std_at("dangling"));
    std::filesystem::create_symlink("circle", std_at("circle"));
    ASSERT_EQ(0, ::mkfifo(std_at("pipe").c_str(), 0600));
    struct {
        char const* name;
        unsigned followed;
        unsigned entry;
    } const cases[] = {
        {"file", regular_file, regular_file},
        {"folder", directory_file, directory_file},
        {"to-file", regular_file, regular_file | symbolic_link},
        {"to-folder", directory_file, directory_file | symbolic_link},
        {"dangling", no_file, other_file | symbolic_link},
        {"circle", no_file, other_file | symbolic_link},
        {"pipe", other_file, other_file},
        {"missing", no_file, no_file},
        {"file/below", no_file, no_file},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(c.followed, status(at(c.name))) << c.name;
        EXPECT_EQ(c.followed != no_file, exists(at(c.name))) << c.name;
        EXPECT_EQ(c.entry, upath_directory_entry(at(c.name)).status()) << c.name;
    }
    EXPECT_FALSE(exists(path(at("file").str() + ustring(1, u'\0') + u"tail")));
}

TEST_F(FilesystemTest, FoldersAreMadeWithTheirParentsButNotTwice) {
    create_directories(at("a/b//c/"));
    EXPECT_TRUE(std::filesystem::is_directory(std_at("a/b/c")));
    EXPECT_THROW(create_directories(at("a/b/c")), FileExistsError);
    EXPECT_THROW(create_directories(at("a/")), FileExistsError);
    create_directories(at("new/deep/./"));
    EXPECT_THROW(create_directories(at("new/deep/.")), FileExistsError);
    file("file");
    EXPECT_THROW(create_directories(at("file")), FileExistsError);
    EXPECT_EQ(ENOTDIR, errorOf([&] { create_directories(at("file/below/deep")); }));
    EXPECT_EQ(ENOENT, errorOf([&] { create_directories(path()); }));
    std::filesystem::create_symlink("missing", std_at("dangling"));
    EXPECT_EQ(ENOENT, errorOf([&] { create_directories(at("dangling/below")); }));
}

TEST_F(FilesystemTest, RenamingReplacesFilesButNoFullFolder) {
    file("a", "new");
    file("b", "old");
    file("full/x");
    std::filesystem::create_directory(std_at("folder"));
    qf::filesystem::rename(at("a"), at("b"));
    EXPECT_EQ("new", readFile(std_at("b")));
    EXPECT_FALSE(exists(at("a")));
    EXPECT_EQ(ENOENT, errorOf([&] { qf::filesystem::rename(at("a"), at("b")); }));
    EXPECT_THROW(qf::filesystem::rename(at("folder"), at("full")), FileExistsError);
}

TEST_F(FilesystemTest, RemovingFollowsNoLinks) {
    file("kept/x");
    file("tree/deep/y");
    std::filesystem::create_symlink("../kept", std_at("tree/link"));
    EXPECT_EQ(ENOTEMPTY, errorOf([&] { qf::filesystem::remove(at("tree")); }));
    qf::filesystem::remove_all(at("tree"));
    EXPECT_FALSE(exists(at("tree")));
    EXPECT_TRUE(exists(at("kept/x")));
    qf::filesystem::remove_all(at("tree"));
    EXPECT_TRUE(qf::filesystem::remove(at("kept/x")));
    EXPECT_TRUE(qf::filesystem::remove(at("kept")));
    EXPECT_FALSE(qf::filesystem::remove(at("kept")));
}

TEST_F(FilesystemTest, CopyingKeepsContentAndPermissions) {
    std::string const text = std::string(300000, 'q') + std::string("\0end", 4);
    file("from", text);
    ASSERT_EQ(0, ::chmod(std_at("from").c_str(), 0640));
    copy_file(at("from"), at("to"), copy_option::fail_if_exists);
    EXPECT_EQ(text, readFile(std_at("to")));
    struct stat info {};
    ASSERT_EQ(0, ::stat(std_at("to").c_str(), &info));
    EXPECT_EQ(0640U, info.st_mode & 0777U);

    file("short", "s");
    EXPECT_THROW(copy_file(at("short"), at("to"), copy_option::fail_if_exists), FileExistsError);
    EXPECT_EQ(text, readFile(std_at("to")));
    copy_file(at("short"), at("to"), copy_option::overwrite_if_exists);
    EXPECT_EQ("s", readFile(std_at("to")));
}

TEST_F(FilesystemTest, RefusedCopiesLeaveAllAsItWas) {
    file("from", "text");
    std::filesystem::create_directory(std_at("folder"));
    std::filesystem::create_symlink("from", std_at("link"));
    ASSERT_EQ(0, ::mkfifo(std_at("pipe").c_str(), 0600));
    auto const before = qbtest::readTree(std_at("."));
    auto const overwrite = copy_option::overwrite_if_exists;
    EXPECT_THROW(copy_file(at("from"), at("link"), overwrite), FileExistsError);
    EXPECT_EQ(EISDIR, errorOf([&] { copy_file(at("from"), at("folder"), overwrite); }));
    EXPECT_EQ(EISDIR, errorOf([&] { copy_file(at("folder"), at("to"), overwrite); }));
    EXPECT_EQ(EINVAL, errorOf([&] { copy_file(at("pipe"), at("to"), overwrite); }));
    EXPECT_EQ(ENXIO, errorOf([&] { copy_file(at("from"), at("pipe"), overwrite); }));
    EXPECT_EQ(ENOENT, errorOf([&] { copy_file(at("missing"), at("to"), overwrite); }));
    EXPECT_EQ(before, qbtest::readTree(std_at(".")));
}

TEST_F(FilesystemTest, AMissingPermissionIsAnErrorOfItsOwn) {
    file("locked/x");
    std::filesystem::create_symlink("locked/x", std_at("link"));
    ASSERT_EQ(0, ::chmod(std_at("locked").c_str(), 0));
    // Nothing is forbidden to root.
    bool const root = ::geteuid() == 0;
    if (root) {
        ASSERT_EQ(0, ::chmod(std_at(".").c_str(), 0755));
        ASSERT_EQ(0, ::seteuid(65534));
    }
    EXPECT_TRUE(exists(at("locked")));
    EXPECT_THROW(exists(at("locked/x")), AccessDenied);
    EXPECT_THROW(create_directories(at("locked/y")), AccessDenied);
    EXPECT_THROW(qf::filesystem::remove(at("locked/x")), AccessDenied);
    EXPECT_THROW(basic_directory_iterator{at("locked")}, AccessDenied);
    EXPECT_EQ(unsigned(other_file | symbolic_link), upath_directory_entry(at("link")).status());
    if (root) {
        ASSERT_EQ(0, ::seteuid(0));
    }
}

TEST_F(FilesystemTest, StreamsHandOverAtTheEndAndTellFailures) {
    basic_ofstream stream(at("out"));
    std::string expected = "first\n";
    stream << "first" << std::endl;
    EXPECT_EQ("", readFile(std_at("out")));
    for (int i = 0; i < 30000; ++i) {
        stream << i << std::endl;
        expected += std::to_string(i) + "\n";
    }
    std::string const large(400000, 'L');
    stream << large << "end";
    stream.sync_to_disk_on_close();
    stream.close();
    EXPECT_TRUE(stream.good());
    EXPECT_TRUE(expected + large + "end" == readFile(std_at("out")));
    stream.close();
    EXPECT_TRUE(stream.fail());

    basic_ofstream unopened(at("missing/out"));
    EXPECT_FALSE(unopened);
    EXPECT_EQ(ENOENT, unopened.error());

    basic_ofstream full(path(u"/dev/full"));
    full << "text";
    EXPECT_TRUE(full.good());
    full.close();
    EXPECT_TRUE(full.fail());
    EXPECT_EQ(ENOSPC, full.error());
}

TEST_F(FilesystemTest, ReadersTakeRegularFilesOnly) {
    file("in", "content");
    sequential_reader reader(at("in"));
    char bytes[5];
    EXPECT_EQ(5U, reader.read(bytes, 5));
    EXPECT_EQ(2U, reader.read(bytes, 5));
    EXPECT_EQ("nt", std::string(bytes, 2));
    EXPECT_EQ(0U, reader.read(bytes, 5));
    ASSERT_EQ(0, ::mkfifo(std_at("pipe").c_str(), 0600));
    EXPECT_EQ(EINVAL, errorOf([&] { sequential_reader pipe(at("pipe")); }));
    EXPECT_EQ(EISDIR, errorOf([&] { sequential_reader folder(at(".")); }));
    EXPECT_EQ(ENOENT, errorOf([&] { sequential_reader missing(at("missing")); }));
}

TEST_F(FilesystemTest, CStreamsAreClosedOnExec) {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> const stream(
        qf::filesystem::fopen(at("c"), "w"), std::fclose);
    ASSERT_TRUE(stream);
    EXPECT_NE(0, ::fcntl(::fileno(stream.get()), F_GETFD) & FD_CLOEXEC);
    EXPECT_EQ(nullptr, qf::filesystem::fopen(at("missing/c"), "w"));
    EXPECT_EQ(ENOENT, errno);
}

}  // namespace
