#pragma once

#include <cstddef>
#include <memory>

#include <settingscore/host/Filesystem.hpp>

namespace settings::core {

/// Bytes for a parser, from the first one to the last. The first read opens what has to be opened.
class ByteSource {
public:
    virtual ~ByteSource() = default;
    /// Up to `size` bytes; 0 at the end. @throws qf::filesystem::FsysExceptionBase
    virtual std::size_t read(char* to, std::size_t size) = 0;
};

/// Those of a file. It is read through the host's file layer, which takes its path as it is, and
/// does not wait at a pipe.
class FileSource : public ByteSource {
public:
    explicit FileSource(qf::filesystem::path file) : file_(std::move(file)) {}
    std::size_t read(char* to, std::size_t size) override {
        if (!reader_) reader_ = std::make_unique<qf::filesystem::sequential_reader>(file_);
        return reader_->read(to, size);
    }

private:
    qf::filesystem::path file_;
    std::unique_ptr<qf::filesystem::sequential_reader> reader_;
};

/// Bytes, and the file that messages name for them.
struct NamedSource {
    qf::filesystem::path const& file;
    ByteSource& bytes;
};

}  // namespace settings::core
