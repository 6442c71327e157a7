#include <qbsettings/texts/TextsFile.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

#include <qbsettings/texts/TextsReader.hpp>

namespace qbsettings::texts {

namespace {

constexpr std::size_t mostBytes = std::size_t{4} << 20;

/// The bytes of a regular file; nothing if there is no file, or with a problem.
std::optional<std::string> bytesOf(std::string const& path, TextsFile& file) {
    // Not to wait for a writer if it is a pipe.
    int const opened = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (opened < 0 && (errno == ENOENT || errno == ENOTDIR)) return std::nullopt;
    file.isThere = true;
    auto const fail = [&](std::string const& problem) {
        file.problem = problem;
        return std::nullopt;
    };
    if (opened < 0) return fail(std::string("cannot be read: ") + std::strerror(errno));
    struct Closer {
        int file;
        ~Closer() { ::close(file); }
    } const closer{opened};
    struct ::stat status {};
    if (::fstat(opened, &status) != 0 || !S_ISREG(status.st_mode)) return fail("is no file");
    std::string bytes;
    std::string piece(std::size_t{1} << 16, '\0');
    while (bytes.size() <= mostBytes) {
        ssize_t const count = ::read(opened, piece.data(), piece.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return fail(std::string("cannot be read: ") + std::strerror(errno));
        if (count == 0) return bytes;
        bytes.append(piece, 0, static_cast<std::size_t>(count));
    }
    return fail("is larger than 4 MiB");
}

}  // namespace

TextsFile readTextsFile(std::string const& path) {
    TextsFile file;
    if (std::optional<std::string> const bytes = bytesOf(path, file)) readTexts(*bytes, file);
    return file;
}

}  // namespace qbsettings::texts
