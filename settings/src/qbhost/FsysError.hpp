#pragma once

#include <string>
#include <string_view>

#include <settingscore/host/Filesystem.hpp>

namespace qbhost::detail {

/// Throws the exception class that fits the error number.
[[noreturn]] void failFsys(std::string const& operation, qf::filesystem::path const& path,
                           int errorNumber);

/// The bytes of a path for a system call. A path with a NUL would name another file than it says.
/// @throws qf::filesystem::FsysExceptionBase
std::string nativePath(std::string_view operation, qf::filesystem::path const& path);

/// A file descriptor, closed at the end of the scope.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor();
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
    int get() const { return number_; }
    bool isOpen() const { return number_ >= 0; }
    int release() {
        int const number = number_;
        number_ = -1;
        return number;
    }

private:
    int number_ = -1;
};

/// As open(2), closed on exec, repeated when a signal interrupts it.
int openRetrying(char const* path, int flags, unsigned mode = 0);
/// Writes all; 0 or the error number.
int writeAll(int descriptor, char const* from, std::size_t size);
/// As read(2), repeated when a signal interrupts it.
long readRetrying(int descriptor, char* to, std::size_t size);
/// As fsync(2), repeated when a signal interrupts it; 0 or the error number.
int syncRetrying(int descriptor);
/// Opens a regular file for reading. Never waits for the other end of a pipe.
/// @throws qf::filesystem::FsysExceptionBase, also for whatever is no regular file.
int openRegular(qf::filesystem::path const& path);

}  // namespace qbhost::detail
