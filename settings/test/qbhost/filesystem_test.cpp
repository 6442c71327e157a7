#include <set>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <settingscore/host/Filesystem.hpp>

#include <support/TempFolder.hpp>

namespace {

namespace host = qf::filesystem;
using host::path;
using qbtest::readFile;
using qf::ustring;

TEST(PathTest, JoiningAndBytes) {
    EXPECT_EQ(path(u"a//") / u"/b/" / u"", u"a/b/");
    EXPECT_EQ(path(u"/") / u"b", path() / u"/b");
    EXPECT_EQ(host::absolute(u"/a/./b/../c/", u"/x") / host::absolute(u"a", u"/x/"), u"/a/c/x/a");
    EXPECT_EQ(host::absolute(u"../../..", u"/x"), u"/");
    for (std::string const bytes : {"caf\xe9", "\xed\xa0\x80"})
        EXPECT_EQ(host::from_native(bytes).native(), bytes);
    // Paths that differ name different files, even those that no folder listing can give.
    EXPECT_NE(path(ustring{0xd800}).native(), path(ustring{0xd801}).native());
}

/// Works in a folder with entries of several kinds.
class FilesystemTest : public testing::Test {
protected:
    FilesystemTest() {
        std::filesystem::current_path(folder_.path());
        for (char const* name : {"./file", "./full/x", "./locked/x"})
            qbtest::writeFile(name, name);
        std::filesystem::create_symlink("file", "to-file");
        EXPECT_EQ(::mkfifo("pipe", 0600), 0);
    }
    ~FilesystemTest() override { std::filesystem::current_path(before_); }

    /// The error number with which `operation` fails.
    static int errorOf(std::function<void()> const& operation) {
        try {
            operation();
        } catch (host::FsysExceptionBase const& e) {
            int const number = e.errorNumber();
            EXPECT_EQ(dynamic_cast<host::FileExistsError const*>(&e) != nullptr, number == EEXIST);
            EXPECT_EQ(dynamic_cast<host::AccessDenied const*>(&e) != nullptr, number == EACCES);
            return number;
        }
        return 0;
    }

private:
    std::filesystem::path const before_ = std::filesystem::current_path();
    qbtest::TempFolder folder_;
};

TEST_F(FilesystemTest, AFolderTellsAllItsEntriesAndWhatTheyAre) {
    std::filesystem::create_symlink("nothing", "lost");
    std::filesystem::create_symlink("full", "to-full");
    std::vector<std::pair<ustring, unsigned>> const wanted = {
        {u"file", host::regular_file},
        {u"full", host::directory_file},
        {u"locked", host::directory_file},
        {u"lost", host::other_file | host::symbolic_link},
        {u"pipe", host::other_file},
        {u"to-file", host::regular_file | host::symbolic_link},
        {u"to-full", host::directory_file | host::symbolic_link}};
    std::vector<std::pair<ustring, unsigned>> found;
    for (host::upath_directory_entry const& entry : host::basic_directory_iterator(u".")) {
        found.emplace_back(entry.filename(), entry.status());
        EXPECT_EQ(host::upath_directory_entry(entry.full_pathname()).status(), entry.status());
    }
    EXPECT_EQ(found, wanted);

    // More than the system tells at once.
    std::size_t const many = 2000;
    for (std::size_t i = 0; i < many; ++i)
        qbtest::writeFile("full/" + std::string(50, 'n') + std::to_string(i), "");
    std::set<ustring> names;
    for (host::upath_directory_entry const& entry : host::basic_directory_iterator(u"full"))
        names.insert(entry.filename());
    EXPECT_EQ(names.size(), many + 1);
}

TEST_F(FilesystemTest, WhatIsRefusedLeavesAllAsItWas) {
    auto const overwrite = host::copy_option::overwrite_if_exists;
    std::pair<int, std::function<void()>> const cases[] = {
        {ENOTDIR, [] { host::create_directories(u"file/below/deep"); }},
        {EEXIST, [] { host::rename(u"locked", u"full"); }},
        {EEXIST, [] { host::rename_to_free_name(u"full", u"locked"); }},
        {EEXIST, [] { host::copy_file(u"full/x", u"file", host::copy_option::fail_if_exists); }},
        {EEXIST, [&] { host::copy_file(u"file", u"to-file", overwrite); }},
        {EISDIR, [&] { host::copy_file(u"file", u"full", overwrite); }},
        {EINVAL, [&] { host::copy_file(u"pipe", u"to", overwrite); }},
        {ENXIO, [&] { host::copy_file(u"file", u"pipe", overwrite); }},
        {EEXIST, [] { host::link_or_copy(u"file", u"full/x"); }},
        {EINVAL, [] { host::sequential_reader(u"pipe"); }},
        {EACCES, [] { host::exists(u"locked/x"); }},
    };
    auto const before = qbtest::readTree(".");
    host::set_permissions(u".", 0755);
    host::set_permissions(u"locked", 0);
    bool const root = ::geteuid() == 0;
    for (auto const& c : cases) {
        // Nothing is forbidden to root.
        ASSERT_EQ(root && c.first == EACCES ? ::seteuid(65534) : 0, 0);
        EXPECT_EQ(errorOf(c.second), c.first) << "row " << &c - cases;
        ASSERT_EQ(root ? ::seteuid(0) : 0, 0);
    }
    host::set_permissions(u"locked", 0700);
    EXPECT_EQ(qbtest::readTree("."), before);
    EXPECT_FALSE(host::exists(ustring(u"file\0tail", 9)));
}

TEST_F(FilesystemTest, MovesCopiesAndRemoves) {
    host::create_directories(u"a/b//c/./");
    std::string const text = std::string(300000, 'q') + std::string("\0end", 4);
    qbtest::writeFile("./from", text);
    host::set_permissions(u"from", 0640);
    host::copy_file(u"from", u"full/to", host::copy_option::fail_if_exists);
    EXPECT_EQ(readFile("full/to"), text);
    EXPECT_EQ(host::permissions(u"full/to"), 0640U);
    host::copy_file(u"file", u"full/to", host::copy_option::overwrite_if_exists);
    EXPECT_EQ(readFile("full/to"), "./file");
    host::link_or_copy(u"file", u"second");
    host::rename(u"from", u"file");
    EXPECT_EQ(readFile("second"), "./file") << "a second name keeps what is replaced";
    EXPECT_EQ(host::permissions(u"to-file"), 0640U) << "those of the file behind the link";

    host::rename_to_free_name(u"a/b", u"a/moved");
    EXPECT_TRUE(host::exists(u"a/moved/c"));

    std::filesystem::create_symlink("../full", "a/link");
    host::remove_all(u"a");
    EXPECT_FALSE(host::exists(u"a"));
    EXPECT_TRUE(host::exists(u"full/x"));
}

TEST_F(FilesystemTest, AFolderHasOneClaimUnderWhateverName) {
    {
        host::folder_claim const first(u"full");
        EXPECT_TRUE(first.is_held());
        EXPECT_FALSE(host::folder_claim(u"full").is_held());
        host::rename(u"full", u"renamed");
        EXPECT_FALSE(host::folder_claim(u"renamed").is_held());
        EXPECT_FALSE(host::folder_claim(u"full").is_held()) << "there is none";
        host::rename(u"renamed", u"full");
    }
    EXPECT_TRUE(host::folder_claim(u"full").is_held());
    EXPECT_FALSE(host::folder_claim(u"file").is_held());
}

TEST_F(FilesystemTest, StreamsHandOverAtTheEndAndTellFailures) {
    host::basic_ofstream stream(u"out");
    std::string const large(400000, 'L');
    stream << "begin" << std::endl << large << "end";
    stream.sync_to_disk_on_close();
    stream.close();
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(readFile("out"), "begin\n" + large + "end");

    host::basic_ofstream full(u"/dev/full");
    full << "text" << std::flush;
    EXPECT_TRUE(full.good()) << "flushing hands over nothing";
    full.close();
    EXPECT_TRUE(full.fail());
    EXPECT_EQ(full.error(), ENOSPC);
}

}  // namespace
