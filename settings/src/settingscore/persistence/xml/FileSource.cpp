#include <settingscore/persistence/xml/FileSource.hpp>

#include <algorithm>

namespace settings::core {

namespace {

/// Enough for most files.
constexpr std::size_t firstRoom = std::size_t(1) << 16;

}  // namespace

bool FileSource::takeWhole(std::size_t most) {
    try {
        while (takeMore(most)) {
        }
    } catch (qf::filesystem::FsysExceptionBase const&) {
        failure_ = std::current_exception();
    }
    return !failure_ && size_ <= most;
}

/// False at the end, and as soon as there is more than allowed.
bool FileSource::takeMore(std::size_t most) {
    if (size_ == room_) {
        std::size_t const room = std::max(firstRoom, 4 * room_);
        std::unique_ptr<char[]> larger(new char[room]);
        std::copy_n(memory_.get(), size_, larger.get());
        memory_ = std::move(larger);
        room_ = room;
    }
    std::size_t const count = readFile(memory_.get() + size_, room_ - size_);
    size_ += count;
    return count != 0 && size_ <= most;
}

std::size_t FileSource::read(char* to, std::size_t size) {
    if (given_ == size_) {
        if (failure_) std::rethrow_exception(failure_);
        return readFile(to, size);
    }
    std::size_t const count = taken().substr(given_).copy(to, size);
    given_ += count;
    return count;
}

std::size_t FileSource::readFile(char* to, std::size_t size) {
    if (!reader_) reader_ = std::make_unique<qf::filesystem::sequential_reader>(file_);
    return reader_->read(to, size);
}

}  // namespace settings::core
