#pragma once

#include <cstddef>
#include <string_view>

#include <settingscore/host/Filesystem.hpp>

namespace settings::core {

/// Bytes for a parser, from the first one to the last. The first read opens what has to be opened.
class ByteSource {
public:
    virtual ~ByteSource() = default;
    /// Up to `size` bytes; 0 at the end. @throws qf::filesystem::FsysExceptionBase
    virtual std::size_t read(char* to, std::size_t size) = 0;
};

/// Those of a text, to which it refers.
class TextSource : public ByteSource {
public:
    explicit TextSource(std::string_view text) : rest_(text) {}
    std::size_t read(char* to, std::size_t size) override {
        std::size_t const count = rest_.copy(to, size);
        rest_.remove_prefix(count);
        return count;
    }

private:
    std::string_view rest_;
};

/// Bytes, and the file that messages name for them.
struct NamedSource {
    qf::filesystem::path const& file;
    ByteSource& bytes;
};

}  // namespace settings::core
