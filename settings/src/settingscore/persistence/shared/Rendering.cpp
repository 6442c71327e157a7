#include <settingscore/persistence/shared/Rendering.hpp>

#include <functional>
#include <ostream>
#include <streambuf>
#include <string_view>
#include <vector>

#include <settingscore/levels/SettingsLevel.hpp>
#include <settingscore/persistence/writer/SaveWalk.hpp>
#include <settingscore/persistence/writer/TagWriter.hpp>
#include <settingscore/persistence/writer/TreeWriter.hpp>
#include <settingscore/tree/NodeView.hpp>

namespace settings::core {

using detail::HeldLock;
using detail::NodeView;

namespace {

/// Appends to a text what is written.
class TextBuffer : public std::streambuf {
public:
    explicit TextBuffer(std::string& text) : text_(text) {}

protected:
    std::streamsize xsputn(char const* piece, std::streamsize size) override {
        text_.append(piece, static_cast<std::size_t>(size));
        return size;
    }
    int_type overflow(int_type character) override {
        if (!traits_type::eq_int_type(character, traits_type::eof()))
            text_ += traits_type::to_char_type(character);
        return traits_type::not_eof(character);
    }

private:
    std::string& text_;
};

/// A key without a value on the level is written as undefined or not by what other levels have,
/// which is no change of this one. It differs from an empty array, whose text can be the same.
FileImage::Content contentWithoutValue(std::string_view text) {
    constexpr std::string_view undefined = " undef=\"true\"";
    std::size_t const at = text.find(undefined);
    std::string plain(text);
    if (at != std::string_view::npos) plain.erase(at, undefined.size());
    return ~std::hash<std::string>()(plain);
}

/// The validator of a group is written before each of its children, so that it is no part of the
/// text of the group.
FileImage::Content contentOfText(NodeView const& node, SettingsLevel const& level,
                                 std::string_view text) {
    if (node.isLeaf() && !node.storedValues().hasValue(level.position()) &&
        !node.ownsRunTimeDefault(level.levelName())) {
        return contentWithoutValue(text);
    }
    FileImage::Content const content = std::hash<std::string_view>()(text);
    if (node.isLeaf() || node.validator().which() == 0) return content;
    std::string validator;
    TextBuffer buffer(validator);
    std::ostream stream(&buffer);
    writeValidator(node.validator(), stream, 0);
    return content ^ (std::hash<std::string>()(validator) << 1U);
}

/// Notes the text of each node while the writer walks over them.
class ImageMaker : public TreeWriter::Observer {
public:
    ImageMaker(std::string const& text, SettingsLevel const& level, FileImage& image)
        : text_(text), level_(level), image_(image) {}

    void begins() override { start_ = text_.size(); }
    void ends(NodeView const& node, std::size_t depth) override {
        paths_.resize(depth);
        paths_.push_back(depth == 0 ? detail::productPath
                                    : detail::pathBelow(paths_.back(), node.name()));
        image_.add(paths_.back(),
                   contentOfText(node, level_, std::string_view(text_).substr(start_)));
    }

private:
    std::string const& text_;
    SettingsLevel const& level_;
    FileImage& image_;
    std::size_t start_ = 0;
    std::vector<detail::PathHash> paths_;
};

}  // namespace

Rendering::Rendering(HeldLock const& lock, SettingsImpl const& product,
                     SettingsLevel const& level) {
    TextBuffer buffer(text);
    std::ostream stream(&buffer);
    ImageMaker maker(text, level, image);
    SaveWalk walk(stream);
    unsigned long const depth = product.getNodeDepth(lock);
    TreeWriter const writer(lock, level.levelName(), &maker);
    writer.saveSelf(product, walk, depth);
    writer.writeParentCloseTag(product, walk, depth);
    image.sort();
}

FileImage::Content contentOf(HeldLock const& lock, SettingsImpl const& node,
                             SettingsLevel const& level) {
    NodeView const view(node, lock);
    std::string text;
    TextBuffer buffer(text);
    std::ostream stream(&buffer);
    unsigned long const depth = view.depth();
    bool const isTop = !view.parent() || view.isTopLevel();
    writeCurrentOpenTag(lock, stream, depth, node.shared_from_this(), isTop);
    if (view.isLeaf()) {
        TreeWriter(lock, level.levelName()).writeKeyContent(node, stream, depth);
    }
    return contentOfText(view, level, text);
}

}  // namespace settings::core
