#include <settingscore/persistence/xml/SettingsInputSource.hpp>

#include <settingscore/host/I18n.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/BinInputStream.hpp>

namespace settings::core {

namespace {

class FileStream : public xercesc::BinInputStream {
public:
    FileStream(qf::filesystem::path const& file, std::uint64_t& bytesSinceTag)
        : reader_(file), bytesSinceTag_(bytesSinceTag) {}

    XMLFilePos curPos() const override { return position_; }
    XMLSize_t readBytes(XMLByte* const to, XMLSize_t const size) override {
        std::size_t count = 0;
        try {
            count = reader_.read(reinterpret_cast<char*>(to), size);
        } catch (qf::filesystem::FsysExceptionBase const& error) {
            throw xercesc::SAXException(qf::i18n::to_ustring(error.what()).c_str());
        }
        position_ += count;
        bytesSinceTag_ += count;
        if (bytesSinceTag_ > SettingsInputSource::tagDistanceLimit) {
            throw xercesc::SAXException(u"A piece of the settings file is too long");
        }
        return count;
    }
    XMLCh const* getContentType() const override { return nullptr; }

private:
    qf::filesystem::sequential_reader reader_;
    XMLFilePos position_ = 0;
    std::uint64_t& bytesSinceTag_;
};

}  // namespace

SettingsInputSource::SettingsInputSource(qf::filesystem::path const& file,
                                         std::uint64_t& bytesSinceTag)
    : InputSource(file.str().c_str()), file_(file), bytesSinceTag_(bytesSinceTag) {
}

xercesc::BinInputStream* SettingsInputSource::makeStream() const {
    bytesSinceTag_ = 0;
    try {
        return new FileStream(file_, bytesSinceTag_);
    } catch (qf::filesystem::FsysExceptionBase const& error) {
        throw xercesc::SAXParseException(qf::i18n::to_ustring(error.what()).c_str(), u"",
                                         getSystemId(), 0, 0);
    }
}

xercesc::InputSource* ClosedEntityResolver::resolveEntity(XMLCh const*, XMLCh const*) {
    static XMLByte const nothing[1] = {0};
    return new xercesc::MemBufInputSource(nothing, 0, "");
}

}  // namespace settings::core
