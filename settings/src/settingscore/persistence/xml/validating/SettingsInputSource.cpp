#include <settingscore/persistence/xml/validating/SettingsInputSource.hpp>

#include <algorithm>
#include <array>

#include <settingscore/host/I18n.hpp>
#include <settingscore/persistence/xml/FileBounds.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/BinInputStream.hpp>

namespace settings::core {

namespace {

class Stream : public xercesc::BinInputStream {
public:
    /// Reads the beginning at once: the parser's reader loses memory if its very first read throws.
    Stream(ByteSource& bytes, ReadState& state) : bytes_(bytes), state_(state) {
        end_ = bytes_.read(beginning_.data(), beginning_.size());
    }

    XMLFilePos curPos() const override { return position_; }
    XMLSize_t readBytes(XMLByte* const to, XMLSize_t const size) override {
        std::size_t const count = next(reinterpret_cast<char*>(to), std::min(size, mostAtOnce));
        position_ += count;
        state_.bytesSinceTag += count;
        if (state_.bytesSinceTag > FileBounds::tagDistanceLimit) {
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
            return bytes_.read(to, size);
        } catch (qf::filesystem::FsysExceptionBase const& error) {
            state_.errorNumber = error.errorNumber();
            throw xercesc::SAXException(qf::i18n::to_ustring(error.what()).c_str());
        }
    }

    ByteSource& bytes_;
    std::array<char, 16384> beginning_;
    std::size_t taken_ = 0;
    std::size_t end_ = 0;
    XMLFilePos position_ = 0;
    ReadState& state_;
};

}  // namespace

SettingsInputSource::SettingsInputSource(NamedSource const& source, ReadState& state)
    : InputSource(source.file.str().c_str()), bytes_(source.bytes), state_(state) {}

xercesc::BinInputStream* SettingsInputSource::makeStream() const {
    state_ = {};
    try {
        return new Stream(bytes_, state_);
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
