#include <settingscore/persistence/xml/plain/PlainReader.hpp>

#include <algorithm>
#include <array>
#include <exception>
#include <string>
#include <vector>

#include <settingscore/persistence/xml/FileBounds.hpp>
#include <settingscore/persistence/xml/plain/PlainScanner.hpp>
#include <settingscore/persistence/xml/plain/PlainSchema.hpp>
#include <settingscore/tree/FileWords.hpp>
#include <settingscore/value/ValueTraits.hpp>

namespace settings::core {

namespace {

using namespace plain;

/// Longer ones may come from the validating parser in parts.
constexpr std::size_t longestPiece = std::size_t(1) << 19;

/// True for the one place of a schema of the elements' own namespace.
bool isHint(std::string_view value) {
    std::string_view const nameSpace = detail::settingsXMLNameSpace;
    std::size_t const begin = nameSpace.size() + 1;
    if (value.size() <= begin || value.substr(0, begin - 1) != nameSpace) return false;
    return value[begin - 1] == ' ' &&
           std::all_of(value.begin() + static_cast<std::ptrdiff_t>(begin), value.end(),
                       [](char c) { return c > ' ' && c < 0x7f; });
}

class PlainReader {
public:
    PlainReader(std::string_view file, DocumentHandler& handler)
        : scanner_(file), handler_(handler) {}

    void read() {
        scanner_.skip("\xef\xbb\xbf");
        declaration();
        if (scanner_.hasInstruction()) throw NotPlain();
        spaceAndComments();
        startTag();
        while (!open_.empty()) {
            if (ruleOf(open_.back().kind).hasText) {
                content();
            } else {
                spaceAndComments();
                tag();
            }
        }
        spaceAndComments();
        if (!scanner_.isAtEnd()) throw NotPlain();
    }

private:
    struct OpenElement {
        ElementKind kind;
        std::string_view name;
    };

    void declaration();
    std::string_view declared(std::string_view name);
    void spaceAndComments();
    void tag();
    void startTag();
    void endTag();
    void content();
    void tell();
    void attributes(ElementRule const& rule, bool isRoot);
    void attribute(AttributeKind kind);
    void rootAttribute(std::string_view name, std::string_view value, unsigned& seen);
    bool piecesAddUp() const;

    PlainScanner scanner_;
    DocumentHandler& handler_;
    std::vector<OpenElement> open_;
    ElementAttributes attributes_;
    std::array<std::string, attributeKindCount> rooms_;
    std::string room_;
    ustring piece_;
};

/// A file without one is of version 1.0 and in UTF-8 as well.
void PlainReader::declaration() {
    if (!scanner_.skip("<?xml")) return;
    if (!scanner_.skipSpace()) throw NotPlain();
    if (declared("version") != "1.0") throw NotPlain();
    if (scanner_.skipSpace() && scanner_.peek() == 'e') {
        std::string encoding(declared("encoding"));
        for (char& c : encoding)
            if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
        if (encoding != "UTF-8") throw NotPlain();
        scanner_.skipSpace();
    }
    scanner_.expect("?>");
}

std::string_view PlainReader::declared(std::string_view name) {
    scanner_.expect(name);
    scanner_.skipSpace();
    scanner_.expect("=");
    scanner_.skipSpace();
    std::string_view const quote = scanner_.peek() == '"' ? "\"" : "'";
    scanner_.expect(quote);
    std::string_view const value = scanner_.name();
    scanner_.expect(quote);
    return value;
}

void PlainReader::spaceAndComments() {
    do {
        scanner_.skipSpace();
    } while (scanner_.skip("<!--") && (scanner_.skipComment(), true));
}

void PlainReader::tag() {
    if (scanner_.skip("</")) {
        endTag();
    } else {
        startTag();
    }
}

void PlainReader::startTag() {
    scanner_.expect('<');
    std::string_view const name = scanner_.name();
    ElementKind const kind = elementKind(name);
    if (open_.empty()) {
        if (kind != ElementKind::settings) throw NotPlain();
    } else if (kind == ElementKind::unknown ||
               !(ruleOf(open_.back().kind).children & bitOf(kind)) ||
               open_.size() >= FileBounds::nestingLimit) {
        throw NotPlain();
    }
    attributes(ruleOf(kind), open_.empty());
    bool const isEmpty = scanner_.skip('/');
    scanner_.expect('>');
    handler_.startElement(name, attributes_);
    if (isEmpty) {
        handler_.endElement(name);
    } else {
        open_.push_back({kind, name});
    }
}

void PlainReader::endTag() {
    std::string_view const name = open_.back().name;
    scanner_.expect(name);
    scanner_.skipSpace();
    scanner_.expect('>');
    open_.pop_back();
    handler_.endElement(name);
}

void PlainReader::attributes(ElementRule const& rule, bool isRoot) {
    attributes_.clear();
    unsigned seenOfRoot = 0;
    while (scanner_.skipSpace()) {
        std::string_view const name = scanner_.name();
        if (name.empty()) break;
        scanner_.skipSpace();
        scanner_.expect('=');
        scanner_.skipSpace();
        AttributeKind const kind = attributeKind(name);
        if (rule.attributes & bitOf(kind)) {
            attribute(kind);
        } else if (isRoot) {
            rootAttribute(name, scanner_.attributeValue(room_), seenOfRoot);
        } else {
            throw NotPlain();
        }
    }
    // The elements' own namespace has to be there, that of the hint with the hint.
    if (isRoot && seenOfRoot != 1 && seenOfRoot != 3 && seenOfRoot != 7) throw NotPlain();
    for (AttributeKind const kind : {AttributeKind::minArraySize, AttributeKind::maxArraySize})
        if ((rule.attributesWithOne & bitOf(kind)) && !attributes_.has(kind)) {
            attributes_.set(kind, "1");
        }
}

void PlainReader::attribute(AttributeKind kind) {
    std::string_view const value = scanner_.attributeValue(rooms_[static_cast<std::size_t>(kind)]);
    std::string_view const refused = refusedIn(kind);
    bool const isRefused = !refused.empty() && value.find_first_of(refused) != value.npos;
    if (isRefused || attributes_.has(kind)) throw NotPlain();
    attributes_.set(kind, value);
}

/// The namespaces, and the hint where the schema lies, which nobody follows.
void PlainReader::rootAttribute(std::string_view name, std::string_view value, unsigned& seen) {
    unsigned bit = 0;
    if (name == "xmlns" && value == detail::settingsXMLNameSpace) {
        bit = 1;
    } else if (name == "xmlns:xsi" && value == "http://www.w3.org/2001/XMLSchema-instance") {
        bit = 2;
    } else if (name == "xsi:schemaLocation" && isHint(value)) {
        bit = 4;
    }
    if (bit == 0 || (seen & bit)) throw NotPlain();
    seen |= bit;
}

/// Text, in pieces where the validating parser makes them: of what stands between tags, comments,
/// sections and the beginnings of references.
void PlainReader::content() {
    piece_.clear();
    for (;;) {
        scanner_.text(piece_);
        if (scanner_.peek() == '&') {
            tell();
            append(piece_, scanner_.reference());
            continue;
        }
        tell();
        if (scanner_.skip("<!--")) {
            scanner_.skipComment();
        } else if (scanner_.skip("<![CDATA[")) {
            scanner_.section(piece_);
            // An empty one is told as well.
            if (piece_.empty()) handler_.characters(piece_);
            tell();
        } else {
            scanner_.expect("</");
            return endTag();
        }
    }
}

void PlainReader::tell() {
    if (piece_.empty()) return;
    if (piece_.size() > longestPiece && !piecesAddUp()) throw NotPlain();
    handler_.characters(piece_);
    piece_.clear();
}

/// Of a string's value it is all the same where the pieces end.
bool PlainReader::piecesAddUp() const {
    using settingscore::boostany::ValueTraits;
    return open_.back().kind == ElementKind::value &&
           typeIndex(open_[open_.size() - 2].kind) == ValueTraits<ustring>::index;
}

}  // namespace

bool readPlain(std::string_view file, DocumentHandler& handler) {
    try {
        PlainReader(file, handler).read();
        return true;
    } catch (std::exception const&) {
        return false;
    }
}

}  // namespace settings::core
