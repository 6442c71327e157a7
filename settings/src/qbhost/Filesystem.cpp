#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <qbhost/FsysError.hpp>

namespace qf::filesystem {

using qbhost::detail::Descriptor;
using qbhost::detail::failFsys;
using qbhost::detail::nativePath;

namespace {

bool meansAbsent(int errorNumber) { return errorNumber == ENOENT || errorNumber == ENOTDIR; }

unsigned kindOf(struct stat const& info) {
    if (S_ISREG(info.st_mode)) return regular_file;
    return S_ISDIR(info.st_mode) ? directory_file : other_file;
}

/// Makes one folder; 0 or the error number.
int makeFolder(std::string const& folder) { return ::mkdir(folder.c_str(), 0777) == 0 ? 0 : errno; }

/// Makes the parents of a folder that are missing; 0 or the error number.
int makeParents(std::string const& folder) {
    std::size_t const last = folder.find_last_not_of('/', folder.rfind('/'));
    if (folder.find('/') == std::string::npos || last == std::string::npos) return ENOENT;
    std::string const parent = folder.substr(0, last + 1);
    int error = makeFolder(parent);
    if (error == ENOENT) {
        error = makeParents(parent);
        if (error == 0) error = makeFolder(parent);
    }
    // Another process may have made it in between.
    return error == EEXIST ? 0 : error;
}

/// Copies what is left of an open file; 0 or the error number.
int copyContent(int from, int to) {
    constexpr std::size_t size = std::size_t{128} * 1024;
    std::unique_ptr<char[]> const buffer(new char[size]);
    for (;;) {
        long const count = qbhost::detail::readRetrying(from, buffer.get(), size);
        if (count == 0) return 0;
        if (count < 0) return errno;
        int const error =
            qbhost::detail::writeAll(to, buffer.get(), static_cast<std::size_t>(count));
        if (error != 0) return error;
    }
}

}  // namespace

bool exists(path const& p) { return (status(p) & file_type_mask) != no_file; }

unsigned status(path const& p) {
    std::string const bytes = p.native();
    if (bytes.find('\0') != std::string::npos) return no_file;
    struct stat info {};
    if (::stat(bytes.c_str(), &info) == 0) return kindOf(info);
    // Links in a circle lead to nothing, as a dangling one does.
    if (meansAbsent(errno) || errno == ELOOP) return no_file;
    failFsys("cannot tell the status of", p, errno);
}

unsigned upath_directory_entry::status() const {
    if (isKindKnown_) return kind_;
    std::string const bytes = nativePath("cannot tell the status of", full_);
    struct stat info {};
    if (::lstat(bytes.c_str(), &info) != 0) {
        if (meansAbsent(errno)) return no_file;
        failFsys("cannot tell the status of", full_, errno);
    }
    if (!S_ISLNK(info.st_mode)) return kindOf(info);
    // A link into a place that is out of reach must not end the walk that meets it.
    bool const known = ::stat(bytes.c_str(), &info) == 0;
    return symbolic_link | (known ? kindOf(info) : unsigned(other_file));
}

void create_directories(path const& p) {
    char const* const operation = "cannot make the folder";
    std::string folder = nativePath(operation, p);
    // With a final "." the folder would be found there just after it was made as a parent.
    while (folder.size() > 1 &&
           (folder.back() == '/' || folder.compare(folder.size() - 2, 2, "/.") == 0))
        folder.pop_back();
    int error = makeFolder(folder);
    if (error == ENOENT) {
        error = makeParents(folder);
        if (error == 0) error = makeFolder(folder);
    }
    if (error != 0) failFsys(operation, p, error);
}

void rename(path const& from, path const& to) {
    std::string const operation = "cannot rename";
    std::string const target = nativePath(operation, to);
    if (::rename(nativePath(operation, from).c_str(), target.c_str()) == 0) return;
    int const error = errno == ENOTEMPTY ? EEXIST : errno;
    failFsys(operation + " to '" + target + "' what is", from, error);
}

void rename_to_free_name(path const& from, path const& to) {
    std::string const operation = "cannot rename";
    std::string const source = nativePath(operation, from);
    std::string const target = nativePath(operation, to);
    if (::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) {
        return;
    }
    int error = errno;
    // Network file systems know no such rename.
    if (error == EINVAL || error == ENOSYS || error == EOPNOTSUPP) {
        struct stat info {};
        if (::lstat(target.c_str(), &info) == 0) {
            error = EEXIST;
        } else if (::rename(source.c_str(), target.c_str()) == 0) {
            return;
        } else {
            error = errno == ENOTEMPTY ? EEXIST : errno;
        }
    }
    failFsys(operation + " to '" + target + "' what is", from, error);
}

bool remove(path const& p) {
    if (::remove(nativePath("cannot remove", p).c_str()) == 0) return true;
    if (meansAbsent(errno)) return false;
    int const error = errno == EEXIST ? ENOTEMPTY : errno;
    failFsys("cannot remove", p, error);
}

void remove_all(path const& p) {
    std::string const bytes = nativePath("cannot remove", p);
    // An empty folder goes even when no descriptor is left to walk it with.
    if (::remove(bytes.c_str()) == 0) return;
    std::error_code error;
    std::filesystem::remove_all(bytes, error);
    if (error && !meansAbsent(error.value())) failFsys("cannot remove all of", p, error.value());
}

namespace {

void copyFile(path const& from, path const& to, copy_option option, bool syncToDisk) {
    Descriptor const source(qbhost::detail::openRegular(from));
    std::string const operation = "cannot copy to";
    std::string const target = nativePath(operation, to);
    struct stat sourceInfo {};
    if (::fstat(source.get(), &sourceInfo) != 0) failFsys("cannot read", from, errno);

    // Not truncated by the opening: it may turn out to be the source. A new file never grants more
    // than the source does, not even while it is written.
    int const exclusive = option == copy_option::fail_if_exists ? O_EXCL : 0;
    Descriptor copy(qbhost::detail::openRetrying(
        target.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY | exclusive,
        sourceInfo.st_mode & 0777));
    struct stat info {};
    if (!copy.isOpen() || ::fstat(copy.get(), &info) != 0) failFsys(operation, to, errno);
    if (!S_ISREG(info.st_mode)) failFsys(operation, to, EINVAL);
    if (info.st_dev == sourceInfo.st_dev && info.st_ino == sourceInfo.st_ino)
        failFsys(operation, to, EEXIST);

    int error = ::ftruncate(copy.get(), 0) == 0 ? 0 : errno;
    if (error == 0) error = copyContent(source.get(), copy.get());
    if (error == 0 && ::fchmod(copy.get(), sourceInfo.st_mode & 0777) != 0 && errno != EPERM &&
        errno != ENOTSUP)
        error = errno;
    if (error == 0 && syncToDisk) error = qbhost::detail::syncRetrying(copy.get());
    if (::close(copy.release()) != 0 && error == 0 && errno != EINTR) error = errno;
    if (error != 0) {
        ::unlink(target.c_str());
        failFsys(operation, to, error);
    }
}

}  // namespace

void copy_file(path const& from, path const& to, copy_option option) {
    copyFile(from, to, option, false);
}

void link_or_copy(path const& from, path const& to) {
    std::string const operation = "cannot give a second name to";
    if (::link(nativePath(operation, from).c_str(), nativePath(operation, to).c_str()) == 0) return;
    // The file system has no links, none to this file, or no more of them.
    if (errno == EOPNOTSUPP || errno == ENOSYS || errno == EPERM || errno == EMLINK) {
        copyFile(from, to, copy_option::fail_if_exists, true);
    } else {
        failFsys(operation, from, errno);
    }
}

unsigned permissions(path const& p) {
    std::string const operation = "cannot tell the permissions of";
    struct stat info {};
    if (::stat(nativePath(operation, p).c_str(), &info) != 0) failFsys(operation, p, errno);
    return info.st_mode & 0777U;
}

void set_permissions(path const& p, unsigned bits) {
    std::string const operation = "cannot set the permissions of";
    if (::chmod(nativePath(operation, p).c_str(), bits & 0777U) != 0) failFsys(operation, p, errno);
}

std::FILE* fopen(path const& p, char const* mode) {
    std::string const bytes = p.native();
    if (bytes.find('\0') != std::string::npos) {
        errno = EINVAL;
        return nullptr;
    }
    std::string const closedOnExec = std::string(mode) + "e";
    std::FILE* stream;
    do {
        stream = std::fopen(bytes.c_str(), closedOnExec.c_str());
    } while (!stream && errno == EINTR);
    return stream;
}

void sync_directory(path const& folder) {
    std::string const operation = "cannot bring to the disk";
    Descriptor const descriptor(qbhost::detail::openRetrying(nativePath(operation, folder).c_str(),
                                                             O_RDONLY | O_DIRECTORY));
    if (!descriptor.isOpen()) failFsys(operation, folder, errno);
    int const error = qbhost::detail::syncRetrying(descriptor.get());
    // File systems that need no such thing refuse it with EINVAL.
    if (error != 0 && error != EINVAL) failFsys(operation, folder, error);
}

}  // namespace qf::filesystem
