#include <settingscore/persistence/writer/ValueWriter.hpp>

#include <charconv>
#include <ostream>
#include <type_traits>

#include <settingscore/host/I18n.hpp>
#include <settingscore/host/Platform.hpp>
#include <settingscore/persistence/writer/TagWriter.hpp>
#include <settingscore/tree/NodeView.hpp>
#include <settingscore/tree/SettingsImpl.hpp>
#include <settingscore/value/AnyBridge.hpp>
#include <settingscore/value/ValueTraits.hpp>

namespace settings::core {

namespace boostany = settingscore::boostany;

namespace {

std::size_t const pieceSize = 1 << 16;

/// The host's context for the text forms of doubles.
class FpcContext {
public:
    FpcContext() { qu_initialize_fpc_context(quGetMemoryContext(), &context_); }
    ~FpcContext() { qu_clear_fpc_context(context_); }
    FpcContext(FpcContext const&) = delete;
    FpcContext& operator=(FpcContext const&) = delete;
    qu_fpc_context* get() const { return context_; }

private:
    qu_fpc_context* context_ = nullptr;
};

/// Writes a value's elements, a line each. The lines go to the stream in large pieces.
class AnyDataWriter {
public:
    AnyDataWriter(std::ostream& stream, unsigned long depth) : stream_(stream) {
        appendIndent(depth, open_);
        open_ += "<value>";
    }

    void operator()() {}
    template <class T>
    void operator()(T const& value) {
        writeLine(value);
        flush();
    }
    template <class T>
    void operator()(std::vector<T> const& values) {
        for (auto const& value : values) {
            writeLine<T>(value);
            if (text_.size() >= pieceSize) flush();
        }
        flush();
    }

private:
    template <class T>
    void writeLine(T const& value) {
        text_ += open_;
        if constexpr (std::is_same_v<T, ustring>) {
            ValueWriter(text_).output(value);
        } else if constexpr (std::is_same_v<T, bool>) {
            text_ += value ? '1' : '0';
        } else {
            writeNumber(value);
        }
        text_ += "</value>\n";
    }
    void writeNumber(double value) {
        char buffer[64];
        text_ += qu_g_fmt(context_.get(), buffer, value);
    }
    void writeNumber(float value) {
        char buffer[64];
        auto const end =
            std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 11);
        text_.append(buffer, end.ptr);
    }
    template <class Integer>
    void writeNumber(Integer value) {
        static_assert(std::is_integral_v<Integer>, "a floating type has a written form of its own");
        char buffer[24];
        text_.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
    }
    void flush() {
        put(stream_, text_);
        text_.clear();
    }

    std::ostream& stream_;
    FpcContext context_;
    std::string open_;
    std::string text_;
};

struct TypeTagVisitor {
    using result_type = std::string;

    std::string operator()() const { return std::string(); }
    template <class T>
    std::string operator()(T const&) const {
        return boostany::ValueTraits<T>::name;
    }
    template <class T>
    std::string operator()(std::vector<T> const&) const {
        return "unsupported";
    }
};

}  // namespace

void ValueWriter::output(ustring const& text) const {
    std::string utf8;
    if (!text.empty()) utf8 = qf::i18n::codecvt_ustring_to_string(text, "UTF-8");
    if (utf8.find("]]>") != std::string::npos) {
        replaceAndWriteOut(utf8);
    } else {
        line_.append("<![CDATA[").append(utf8).append("]]>");
    }
}

void ValueWriter::replaceAndWriteOut(std::string const& utf8) const {
    // A section ends in the midst of the mark and the next one goes on behind it.
    std::string const seam = "]]]]><![CDATA[>";
    line_.append("<![CDATA[");
    std::size_t from = 0;
    for (std::size_t at; (at = utf8.find("]]>", from)) != std::string::npos; from = at + 3) {
        line_.append(utf8, from, at - from).append(seam);
    }
    line_.append(utf8, from, std::string::npos).append("]]>");
}

void writeData(std::ostream& stream, boost::any const& value, unsigned long depth) {
    AnyDataWriter writer(stream, depth);
    boostany::applyVisitor(writer, value, true);
}

std::string getCurrentTypeTagName(boost::any const& value) {
    TypeTagVisitor visitor;
    return boostany::applyVisitor(visitor, value, true);
}

std::string getAttributeStringStream(detail::HeldLock const& lock,
                                     boost::shared_ptr<SettingsImpl const> const& obj,
                                     bool hasContent) {
    std::string attributes;
    if (!obj) return attributes;
    detail::NodeView const view(*obj, lock);
    bool anyLength = false;
    auto const sizes = view.rules().sizes();
    // The sizes of a key that has settled no type are nobody's rule; read back they would make an
    // array of its one value.
    if (sizes && view.rules().typeIndex() != 0ul) {
        anyLength = sizes->minArrSize() == 0 && sizes->maxArrSize() == 0;
        auto const append = [&](char const* name, unsigned long size) {
            if (size == 1) return;
            attributes.append(name).append("=\"").append(std::to_string(size)).append("\"");
        };
        append(" minArraySize", sizes->minArrSize());
        append(" maxArraySize", sizes->maxArrSize());
    }
    // Without values such an element reads as the empty array, which would hide the value of a
    // later level.
    bool const readsAsEmptyArray = anyLength && !hasContent;
    if (readsAsEmptyArray || view.isUndefined()) attributes += " undef=\"true\"";
    return attributes;
}

template <class T>
void writeValues(detail::HeldLock const& lock, std::ostream& stream,
                 boost::shared_ptr<SettingsImpl const> const& obj, std::string const& level,
                 unsigned long depth) {
    if (!obj) return;
    detail::NodeView const view(*obj, lock);
    boost::any const value =
        level.empty() ? view.storedInForce() : obj->getAnyValueWithLock(lock, level, false);
    std::string tag;
    if constexpr (std::is_same_v<T, ZenbarAny>) {
        if (value.empty()) return;
        tag = getCurrentTypeTagName(value);
    } else {
        tag = boostany::ValueTraits<T>::name;
    }
    bool const ownsDefault = view.ownsRunTimeDefault(level);

    std::string line;
    appendIndent(depth, line);
    line.append("<").append(tag);
    line.append(getAttributeStringStream(lock, obj, ownsDefault || !value.empty())).append(">\n");
    put(stream, line);
    if (ownsDefault) {
        writeRuntimeFunc(view.runTimeDefault(), stream, depth + 1);
    } else {
        writeData(stream, value, depth + 1);
    }
    line.clear();
    appendIndent(depth, line);
    line.append("</").append(tag).append(">\n");
    put(stream, line);
}

#define SETTINGSCORE_ROW(type, index, name, wide, word)                           \
    template void writeValues<type>(detail::HeldLock const&, std::ostream&,       \
                                    boost::shared_ptr<SettingsImpl const> const&, \
                                    std::string const&, unsigned long);
SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ROW)
SETTINGSCORE_ROW(ZenbarAny, , , , )
#undef SETTINGSCORE_ROW

}  // namespace settings::core
