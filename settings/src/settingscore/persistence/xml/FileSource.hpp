#pragma once

#include <exception>
#include <memory>
#include <string_view>

#include <settingscore/host/Filesystem.hpp>
#include <settingscore/persistence/xml/ByteSource.hpp>

namespace settings::core {

/// The bytes of a file. It is read once, through the host's file layer, which takes its path as it
/// is and does not wait at a pipe.
class FileSource : public ByteSource {
public:
    explicit FileSource(qf::filesystem::path file) : file_(std::move(file)) {}

    /// Before the first read: reads the file into memory. False if it is longer than `most` or
    /// can't be read; reading then gives what has been read, and goes on or fails behind it.
    bool takeWhole(std::size_t most);
    /// What is in memory; good as long as this.
    std::string_view taken() const { return {memory_.get(), size_}; }

    std::size_t read(char* to, std::size_t size) override;

private:
    std::size_t readFile(char* to, std::size_t size);
    bool takeMore(std::size_t most);

    qf::filesystem::path file_;
    std::unique_ptr<qf::filesystem::sequential_reader> reader_;
    std::unique_ptr<char[]> memory_;
    std::size_t room_ = 0;
    std::size_t size_ = 0;
    std::size_t given_ = 0;
    std::exception_ptr failure_;
};

}  // namespace settings::core
