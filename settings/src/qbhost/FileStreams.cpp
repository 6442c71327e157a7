#include <cerrno>
#include <cstddef>
#include <cstring>
#include <locale>
#include <streambuf>

#include <fcntl.h>
#include <unistd.h>

#include <qbhost/FsysError.hpp>

namespace qf::filesystem {

class basic_ofstream::Buffer : public std::streambuf {
public:
    explicit Buffer(path const& p) {
        std::string const bytes = p.native();
        if (bytes.find('\0') != std::string::npos) {
            error_ = EINVAL;
            return;
        }
        pieces_.reset(new char[size]);  // First: with a file open it must not fail.
        descriptor_ =
            qbhost::detail::openRetrying(bytes.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        if (descriptor_ < 0) {
            error_ = errno;
            return;
        }
        setp(pieces_.get(), pieces_.get() + size);
    }
    ~Buffer() override { close(); }

    bool isOpen() const { return descriptor_ >= 0; }
    int error() const { return error_; }
    void syncOnClose() { sync_ = true; }

    bool close() {
        if (!isOpen()) return false;
        handOver();
        if (sync_) note(qbhost::detail::syncRetrying(descriptor_));
        if (::close(descriptor_) != 0 && errno != EINTR) note(errno);
        descriptor_ = -1;
        setp(nullptr, nullptr);
        return error_ == 0;
    }

protected:
    int_type overflow(int_type c) override {
        if (!isOpen() || !handOver()) return traits_type::eof();
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            *pptr() = traits_type::to_char_type(c);
            pbump(1);
        }
        return traits_type::not_eof(c);
    }

    std::streamsize xsputn(char const* from, std::streamsize count) override {
        if (count > epptr() - pptr()) {
            if (!isOpen() || !handOver()) return 0;
            if (count >= static_cast<std::streamsize>(size)) return write(from, count) ? count : 0;
        }
        if (count <= 0) return 0;
        std::memcpy(pptr(), from, static_cast<std::size_t>(count));
        pbump(static_cast<int>(count));
        return count;
    }

    // A text that flushes each of its lines would cost a system call a line.
    int sync() override { return error_ == 0 ? 0 : -1; }

private:
    static constexpr std::size_t size = std::size_t{128} * 1024;

    bool handOver() {
        bool const done = write(pbase(), pptr() - pbase());
        setp(pieces_.get(), pieces_.get() + size);
        return done;
    }

    // Nothing is written behind a gap.
    bool write(char const* from, std::streamsize count) {
        if (error_ == 0)
            note(qbhost::detail::writeAll(descriptor_, from, static_cast<std::size_t>(count)));
        return error_ == 0;
    }

    void note(int error) {
        if (error_ == 0) error_ = error;
    }

    int descriptor_ = -1;
    int error_ = 0;
    bool sync_ = false;
    std::unique_ptr<char[]> pieces_;
};

basic_ofstream::basic_ofstream(path const& p)
    : std::ostream(nullptr), buffer_(std::make_unique<Buffer>(p)) {
    imbue(std::locale::classic());
    rdbuf(buffer_.get());
    if (!buffer_->isOpen()) setstate(failbit);
}

basic_ofstream::~basic_ofstream() = default;

bool basic_ofstream::is_open() const { return buffer_->isOpen(); }

void basic_ofstream::close() {
    if (!buffer_->close()) setstate(failbit);
}

int basic_ofstream::error() const { return buffer_->error(); }

void basic_ofstream::sync_to_disk_on_close() { buffer_->syncOnClose(); }

sequential_reader::sequential_reader(path const& p)
    : path_(p), descriptor_(qbhost::detail::openRegular(p)) {}

sequential_reader::~sequential_reader() { ::close(descriptor_); }

std::size_t sequential_reader::read(char* to, std::size_t size) {
    long const count = qbhost::detail::readRetrying(descriptor_, to, size);
    if (count < 0) qbhost::detail::failFsys("cannot read", path_, errno);
    return static_cast<std::size_t>(count);
}

}  // namespace qf::filesystem
