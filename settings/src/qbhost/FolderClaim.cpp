#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <qbhost/FsysError.hpp>

namespace qf::filesystem {

folder_claim::folder_claim(path const& folder) {
    char const* const operation = "cannot claim";
    std::string const name = qbhost::detail::nativePath(operation, folder);
    qbhost::detail::Descriptor opened(
        qbhost::detail::openRetrying(name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW));
    if (!opened.isOpen()) {
        if (errno == ENOENT || errno == ENOTDIR || errno == ELOOP) return;
        qbhost::detail::failFsys(operation, folder, errno);
    }
    struct stat own {};
    if (::fstat(opened.get(), &own) != 0) qbhost::detail::failFsys(operation, folder, errno);
    if (own.st_uid != ::geteuid()) qbhost::detail::failFsys(operation, folder, EPERM);
    if (::flock(opened.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK) return;
        qbhost::detail::failFsys(operation, folder, errno);
    }
    // Its holder could have renamed or removed it since it was opened.
    struct stat named {};
    if (::lstat(name.c_str(), &named) != 0 || named.st_dev != own.st_dev ||
        named.st_ino != own.st_ino) {
        return;
    }
    descriptor_ = opened.release();
}

folder_claim::~folder_claim() {
    if (is_held()) ::close(descriptor_);
}

}  // namespace qf::filesystem
