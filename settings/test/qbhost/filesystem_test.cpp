#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <settingscore/host/Filesystem.hpp>

#include "../support/TempFolder.hpp"

namespace {

namespace host = qf::filesystem;
using host::path;
using qbtest::readFile;
using qf::ustring;

TEST(PathTest, PartsAndJoining) {
    ustring parts;
    for (path const p :
         {u"", u"/", u"/a", u"/x//y.d/f", u"x//f.t.u", u"x/", u"x/.a", u"x/.a.b", u"x/.."}) {
        parts += p.parent_path().str() + u'|' + p.filename().str() + u'|' + p.extension() + u' ';
    }
    EXPECT_EQ(parts, u"|| /|| /|a| /x//y.d|f| x|f.t.u|.u x|| x|.a| x|.a.b|.b x|..| ");
    EXPECT_EQ(path(u"a//") / u"/b/" / u"", u"a/b/");
    EXPECT_EQ(path(u"/") / u"b", path() / u"/b");
    EXPECT_EQ(host::absolute(u"/a/./b/../c/", u"/x") / host::absolute(u"a", u"/x/"), u"/a/c/x/a");
    EXPECT_EQ(host::absolute(u"../../..", u"/x"), u"/");
    for (std::string const bytes : {"caf\xe9", "\xed\xa0\x80", "\xc3\xa9\xff\xc3", "\xf0\x9f\x98"})
        EXPECT_EQ(host::from_native(bytes).native(), bytes);
    // Paths that differ name different files, even those that no folder listing can give.
    EXPECT_NE(path(ustring{0xd800}).native(), path(ustring{0xd801}).native());
}

/// Works in a folder with an entry of every kind.
class FilesystemTest : public testing::Test {
protected:
    FilesystemTest() {
        std::filesystem::current_path(folder_.path());
        for (char const* name : {"./file", "./full/x", "./locked/x", "./\xe9"})
            qbtest::writeFile(name, name);
        std::filesystem::create_symlink("file", "to-file");
        std::filesystem::create_symlink("full", "to-full");
        std::filesystem::create_symlink("missing", "dangling");
        std::filesystem::create_symlink("circle", "circle");
        std::filesystem::create_symlink("locked/x", "to-locked");
        EXPECT_EQ(::mkfifo("pipe", 0600), 0);
    }
    ~FilesystemTest() override { std::filesystem::current_path(before_); }

    /// The error number with which `operation` fails.
    static int errorOf(std::function<void()> const& operation) {
        try {
            operation();
        } catch (host::FsysExceptionBase const& e) {
            int const number = e.errorNumber();
            EXPECT_NE(std::string(e.what()).find(e.reason()), std::string::npos);
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

TEST_F(FilesystemTest, WhatIsRefusedLeavesAllAsItWas) {
    auto const overwrite = host::copy_option::overwrite_if_exists;
    std::pair<int, std::function<void()>> const cases[] = {
        {ENOTDIR, [] { host::basic_directory_iterator(u"file"); }},
        {EEXIST, [] { host::create_directories(u"full/."); }},
        {ENOTDIR, [] { host::create_directories(u"file/below/deep"); }},
        {ENOENT, [] { host::create_directories(u"dangling/below"); }},
        {ENOENT, [] { host::create_directories(path()); }},
        {ENOENT, [] { host::rename(u"missing", u"file"); }},
        {EEXIST, [] { host::rename(u"locked", u"full"); }},
        {ENOTEMPTY, [] { host::remove(u"full"); }},
        {EEXIST, [] { host::copy_file(u"full/x", u"file", host::copy_option::fail_if_exists); }},
        {EEXIST, [&] { host::copy_file(u"file", u"to-file", overwrite); }},
        {EISDIR, [&] { host::copy_file(u"file", u"full", overwrite); }},
        {EISDIR, [&] { host::copy_file(u"full", u"to", overwrite); }},
        {EINVAL, [&] { host::copy_file(u"pipe", u"to", overwrite); }},
        {ENXIO, [&] { host::copy_file(u"file", u"pipe", overwrite); }},
        {EEXIST, [] { host::link_or_copy(u"file", u"full/x"); }},
        {ENOENT, [] { host::link_or_copy(u"missing", u"to"); }},
        {ENOENT, [] { host::set_permissions(u"missing", host::permissions(u"file")); }},
        {EINVAL, [] { host::sequential_reader(u"pipe"); }},
        {EACCES, [] { host::exists(u"locked/x"); }},
        {EACCES, [] { host::remove(u"locked/x"); }},
    };
    auto const before = qbtest::readTree(".");
    host::set_permissions(u".", 0755);
    host::set_permissions(u"locked", 0);
    bool const root = ::geteuid() == 0;
    for (auto const& c : cases) {
        // Nothing is forbidden to root.
        ASSERT_EQ(root && c.first == EACCES ? ::seteuid(65534) : 0, 0);
        EXPECT_EQ(errorOf(c.second), c.first) << "row " << &c - cases;
        EXPECT_NE(host::upath_directory_entry(u"to-locked").status() & host::symbolic_link, 0U);
        ASSERT_EQ(root ? ::seteuid(0) : 0, 0);
    }
    host::set_permissions(u"locked", 0700);
    EXPECT_EQ(qbtest::readTree("."), before);
    EXPECT_EQ(host::basic_ofstream(u"missing/c").error(), ENOENT);
    EXPECT_FALSE(host::exists(ustring(u"file\0tail", 9)));
}

TEST_F(FilesystemTest, ListsMakesMovesCopiesAndRemoves) {
    std::string entries;
    for (auto const& entry : host::basic_directory_iterator(u".")) {
        bool const leadsNowhere = !host::exists(entry.full_pathname());
        entries += path(entry.filename()).native() + (leadsNowhere ? '!' : ' ') +
                   std::to_string(entry.status()) + ", ";
    }
    EXPECT_EQ(entries,
              "circle!19, dangling!19, file 1, full 2, locked 2, pipe 3, to-file 17, "
              "to-full 18, to-locked 17, \xe9 1, ");
    host::create_directories(u"a/b//c/./");
    EXPECT_TRUE(std::filesystem::is_directory("a/b/c"));
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

    std::filesystem::create_symlink("../full", "a/link");
    host::remove_all(u"a");
    host::remove_all(u"a");
    EXPECT_FALSE(host::exists(u"a"));
    EXPECT_TRUE(host::remove(u"full/x"));
    EXPECT_FALSE(host::remove(u"full/x"));
}

TEST_F(FilesystemTest, StreamsHandOverAtTheEndAndTellFailures) {
    host::basic_ofstream stream(u"out");
    std::string expected;
    for (int i = 0; i < 30000; ++i) {
        stream << i << std::endl;
        expected += std::to_string(i) + "\n";
    }
    std::string const large(400000, 'L');
    stream << large << "end";
    stream.sync_to_disk_on_close();
    stream.close();
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(readFile("out"), expected + large + "end");
    stream.close();
    EXPECT_TRUE(stream.fail()) << "closed twice";

    host::basic_ofstream full(u"/dev/full");
    full << "text" << std::flush;
    EXPECT_TRUE(full.good()) << "flushing hands over nothing";
    full.close();
    EXPECT_TRUE(full.fail());
    EXPECT_EQ(full.error(), ENOSPC);

    host::sequential_reader reader(u"file");
    char bytes[4];
    EXPECT_EQ(reader.read(bytes, 4), 4U);
    EXPECT_EQ(std::string(bytes, reader.read(bytes, 4)), "le");
    EXPECT_EQ(reader.read(bytes, 4), 0U);
    std::FILE* const forChild = host::fopen(u"file", "r");
    ASSERT_TRUE(forChild);
    EXPECT_NE(::fcntl(::fileno(forChild), F_GETFD) & FD_CLOEXEC, 0);
    std::fclose(forChild);
}

}  // namespace
