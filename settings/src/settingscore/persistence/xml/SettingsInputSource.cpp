#include <settingscore/persistence/xml/SettingsInputSource.hpp>

#include <algorithm>
#include <array>

#include <settingscore/host/I18n.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/BinInputStream.hpp>

namespace settings::core {

namespace {

class FileStream : public xercesc::BinInputStream {
public:
    /// Reads the beginning at once: the parser's reader loses memory if its very first read throws.
    FileStream(qf::filesystem::path const& file, ReadState& state) : reader_(file), state_(state) {
        end_ = reader_.read(beginning_.data(), beginning_.size());
    }

    XMLFilePos curPos() const override { return position_; }
    XMLSize_t readBytes(XMLByte* const to, XMLSize_t const size) override {
        std::size_t const count = next(reinterpret_cast<char*>(to), std::min(size, mostAtOnce));
        position_ += count;
        state_.bytesSinceTag += count;
        if (state_.bytesSinceTag > SettingsInputSource::tagDistanceLimit) {
            throw xercesc::SAXException(u"A piece of the settings file is too long");
        }
        return count;
    }
    XMLCh const* getContentType() const override { return nullptr; }

private:
    /// Far less than the limit on written texts leaves for what is read ahead.
    static constexpr XMLSize_t mostAtOnce = XMLSize_t(1) << 16;

    std::size_t next(char* to, std::size_t size) {
        if (taken_ < end_) {
            std::size_t const count = std::min(size, end_ - taken_);
            std::copy_n(beginning_.data() + taken_, count, to);
            taken_ += count;
            return count;
        }
        try {
            return reader_.read(to, size);
        } catch (qf::filesystem::FsysExceptionBase const& error) {
            state_.errorNumber = error.errorNumber();
            throw xercesc::SAXException(qf::i18n::to_ustring(error.what()).c_str());
        }
    }

    qf::filesystem::sequential_reader reader_;
    std::array<char, 16384> beginning_;
    std::size_t taken_ = 0;
    std::size_t end_ = 0;
    XMLFilePos position_ = 0;
    ReadState& state_;
};

}  // namespace

SettingsInputSource::SettingsInputSource(qf::filesystem::path const& file, ReadState& state)
    : InputSource(file.str().c_str()), file_(file), state_(state) {}

xercesc::BinInputStream* SettingsInputSource::makeStream() const {
    state_ = {};
    try {
        return new FileStream(file_, state_);
    } catch (qf::filesystem::FsysExceptionBase const& error) {
        state_.errorNumber = error.errorNumber();
        throw xercesc::SAXParseException(qf::i18n::to_ustring(error.what()).c_str(), u"",
                                         getSystemId(), 0, 0);
    }
}

xercesc::InputSource* ClosedEntityResolver::resolveEntity(XMLCh const*, XMLCh const*) {
    static XMLByte const nothing[1] = {0};
    return new xercesc::MemBufInputSource(nothing, 0, "");
}

}  // namespace settings::core
