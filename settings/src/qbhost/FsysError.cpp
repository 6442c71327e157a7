#include <cerrno>
#include <cstddef>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <qbhost/FsysError.hpp>
#include <settingscore/host/I18n.hpp>

namespace qf::filesystem {
namespace {
std::string textOf(int errorNumber) { return std::generic_category().message(errorNumber); }
}  // namespace

FsysExceptionBase::FsysExceptionBase(std::string const& operation, ustring path, int errorNumber)
    : std::runtime_error(operation + " '" + i18n::to_string(path) + "': " + textOf(errorNumber)),
      path_(std::move(path)),
      errorNumber_(errorNumber) {}

std::string FsysExceptionBase::reason() const { return textOf(errorNumber_); }

}  // namespace qf::filesystem

namespace qbhost::detail {

using namespace qf::filesystem;

void failFsys(std::string const& operation, path const& path, int errorNumber) {
    switch (errorNumber) {
        case EACCES:
        case EPERM:
        case EROFS:
            throw AccessDenied(operation, path.str(), errorNumber);
        case EEXIST:
            throw FileExistsError(operation, path.str(), errorNumber);
        default:
            throw FsysExceptionBase(operation, path.str(), errorNumber);
    }
}

std::string nativePath(std::string_view operation, path const& path) {
    std::string bytes = path.native();
    if (bytes.find('\0') != std::string::npos) failFsys(std::string(operation), path, EINVAL);
    return bytes;
}

Descriptor::~Descriptor() {
    if (isOpen()) ::close(number_);
}

int openRetrying(char const* path, int flags, unsigned mode) {
    int descriptor;
    do {
        descriptor = ::open(path, flags | O_CLOEXEC, mode);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

long readRetrying(int descriptor, char* to, std::size_t size) {
    long count;
    do {
        count = ::read(descriptor, to, size);
    } while (count < 0 && errno == EINTR);
    return count;
}

int syncRetrying(int descriptor) {
    int result;
    do {
        result = ::fsync(descriptor);
    } while (result != 0 && errno == EINTR);
    return result == 0 ? 0 : errno;
}

int writeAll(int descriptor, char const* from, std::size_t size) {
    while (size > 0) {
        long const count = ::write(descriptor, from, size);
        if (count < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        from += count;
        size -= static_cast<std::size_t>(count);
    }
    return 0;
}

int openRegular(path const& path) {
    char const* const operation = "cannot open";
    Descriptor file(
        openRetrying(nativePath(operation, path).c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY));
    struct stat info {};
    if (!file.isOpen() || ::fstat(file.get(), &info) != 0) failFsys(operation, path, errno);
    if (!S_ISREG(info.st_mode))
        failFsys("cannot read as a file", path, S_ISDIR(info.st_mode) ? EISDIR : EINVAL);
    return file.release();
}

}  // namespace qbhost::detail
