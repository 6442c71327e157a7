#include <settingscore/persistence/writer/TagWriter.hpp>

#include <ostream>

#include <boost/variant/apply_visitor.hpp>
#include <settingscore/tree/FileWords.hpp>
#include <settingscore/tree/NodeView.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {
namespace {

char const* nodeTag(bool isLeaf) { return isLeaf ? "key" : "settings"; }

template <class Function>
void writeFunction(char const* tag, char const* type, Function const& function,
                   std::ostream& stream, unsigned long depth) {
    std::string line;
    appendIndent(depth, line);
    line.append("<").append(tag).append(" type='").append(type);
    line.append("' packagename='").append(function.getPackageName());
    line.append("' functionname='").append(function.getFunctionName()).append("'/>\n");
    put(stream, line);
}

class ValidationOutputVisitor {
public:
    using result_type = void;
    ValidationOutputVisitor(std::ostream& stream, unsigned long depth)
        : stream_(stream), depth_(depth) {}

    void operator()(boost::mpl::void_ const&) const {}
    void operator()(ZValidator const& validator) const { write("ZENBAR", validator); }
    void operator()(CValidator const& validator) const { write("C", validator); }
    void operator()(JValidator const& validator) const { write("JAVA", validator); }

private:
    template <class V>
    void write(char const* type, V const& validator) const {
        writeFunction("validationfunc", type, validator, stream_, depth_);
    }
    std::ostream& stream_;
    unsigned long depth_;
};

class RuntimeOutputVisitor {
public:
    using result_type = void;
    RuntimeOutputVisitor(std::ostream& stream, unsigned long depth)
        : stream_(stream), depth_(depth) {}

    void operator()(boost::mpl::void_ const&) const {}
    void operator()(CRunTimeDefault const& function) const { write("C", function); }
    void operator()(ZRunTimeDefault const& function) const { write("ZENBAR", function); }
    void operator()(JRunTimeDefault const& function) const { write("JAVA", function); }

private:
    template <class R>
    void write(char const* type, R const& function) const {
        writeFunction("runtimedefault", type, function, stream_, depth_);
    }
    std::ostream& stream_;
    unsigned long depth_;
};

}  // namespace

void put(std::ostream& stream, std::string const& text) {
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
}

void appendIndent(unsigned long depth, std::string& text) { text.append(4 * depth, ' '); }

void writeIndent(unsigned long depth, std::ostream& stream) {
    std::string blanks;
    appendIndent(depth, blanks);
    put(stream, blanks);
}

void writeCurrentOpenTag(detail::HeldLock const& lock, std::ostream& stream, unsigned long depth,
                         boost::shared_ptr<SettingsImpl const> const& obj, bool isTop) {
    detail::NodeView const view(*obj, lock);
    bool const isLeaf = view.isLeaf();
    std::string tag;
    if (isTop) tag.append(detail::settingsXMLFileHeader).append("\n");
    appendIndent(depth, tag);
    tag.append("<").append(nodeTag(isLeaf));
    tag.append(" name=\"").append(view.name()).append("\"");
    if (view.visible().value_or(false)) tag.append(" visible=\"true\"");
    if (!view.parent() || view.isTopLevel()) {
        if (auto const version = view.version()) {
            tag.append(" version=\"").append(std::to_string(*version)).append("\"");
        }
    }
    if (view.isReadOnly()) tag.append(" readonly=\"true\"");
    if (isLeaf) {
        // Index 0 is that of a key whose first value was empty. It has no type that the reader
        // would take, so it is written as what it is: open for any.
        auto const index = view.rules().typeIndex();
        if (!index || *index == 0 || *index == SettingsImpl::anyTypeIndex) {
            tag.append(" anytype=\"true\"");
        }
    }
    if (isTop) tag.append(" ").append(detail::settingsSchemaInfo);
    tag.append(">\n");
    put(stream, tag);
}

void writeCurrentCloseTag(std::ostream& stream, unsigned long depth, bool isLeaf) {
    std::string tag;
    appendIndent(depth, tag);
    tag.append("</").append(nodeTag(isLeaf)).append(">\n");
    put(stream, tag);
}

void writeValidator(Validator const& validator, std::ostream& stream, unsigned long depth) {
    boost::apply_visitor(ValidationOutputVisitor(stream, depth), validator);
}

void writeRuntimeFunc(RunTimeDefault const& runTimeDefault, std::ostream& stream,
                      unsigned long depth) {
    boost::apply_visitor(RuntimeOutputVisitor(stream, depth), runTimeDefault);
}

}  // namespace settings::core
