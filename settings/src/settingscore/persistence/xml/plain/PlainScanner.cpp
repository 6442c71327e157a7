#include <settingscore/persistence/xml/plain/PlainScanner.hpp>

#include <algorithm>
#include <array>

namespace settings::core::plain {

namespace {

/// What a byte is to the scanner, wherever it stands.
enum class Byte : unsigned char { special, ordinary, space, markup };

constexpr std::array<Byte, 256> bytes() {
    std::array<Byte, 256> kinds{};
    for (std::size_t i = 0x20; i < 0x80; ++i)
        kinds[i] = Byte::ordinary;
    kinds[' '] = kinds['\t'] = kinds['\n'] = Byte::space;
    // "]" could begin the end of a section; '>' could end it.
    for (char const c : {'<', '&', ']', '"', '\''})
        kinds[static_cast<unsigned char>(c)] = Byte::markup;
    return kinds;
}

constexpr std::array<Byte, 256> byteKinds = bytes();

Byte kindOf(char byte) { return byteKinds[static_cast<unsigned char>(byte)]; }

bool isPlainText(char byte) {
    Byte const kind = kindOf(byte);
    return kind == Byte::ordinary || kind == Byte::space;
}

/// Those that XML 1.0 has and every parser takes.
bool isCharacter(char32_t c) {
    if (c < 0x20) return c == '\t' || c == '\n' || c == '\r';
    return c < 0xd800 || (c > 0xdfff && c < 0xfffe) || (c > 0xffff && c < 0x110000);
}

constexpr std::array<bool, 256> nameBytes() {
    std::array<bool, 256> are{};
    for (char const c : std::string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                         "0123456789:_-."))
        are[static_cast<unsigned char>(c)] = true;
    return are;
}

constexpr std::array<bool, 256> isNameByte = nameBytes();

void append(std::string& to, char32_t c) {
    auto const put = [&](char32_t unit) { to.push_back(static_cast<char>(unit)); };
    auto const more = [&](unsigned shift) { put(0x80 | ((c >> shift) & 0x3f)); };
    if (c < 0x80) {
        put(c);
    } else if (c < 0x800) {
        put(0xc0 | (c >> 6));
        more(0);
    } else if (c < 0x10000) {
        put(0xe0 | (c >> 12));
        more(6);
        more(0);
    } else {
        put(0xf0 | (c >> 18));
        more(12);
        more(6);
        more(0);
    }
}

}  // namespace

void append(ustring& to, char32_t c) {
    if (c < 0x10000) {
        to.push_back(static_cast<char16_t>(c));
    } else {
        to.push_back(static_cast<char16_t>(0xd7c0 + (c >> 10)));
        to.push_back(static_cast<char16_t>(0xdc00 + (c & 0x3ff)));
    }
}

bool PlainScanner::hasInstruction() const {
    std::string_view const rest(at_, static_cast<std::size_t>(end_ - at_));
    // By the rarer of the two characters.
    for (std::size_t at = rest.find('?', 1); at != rest.npos; at = rest.find('?', at + 1)) {
        if (rest[at - 1] == '<') return rest.rfind("<!", at) == rest.npos;
    }
    return false;
}

void PlainScanner::skipComment() {
    while (!skip("--")) {
        if (isAtEnd()) throw NotPlain();
        if (kindOf(*at_) == Byte::special) {
            character();
        } else {
            ++at_;
        }
    }
    expect(">");
}

std::string_view PlainScanner::name() {
    char const* const begin = at_;
    while (at_ != end_ && isNameByte[static_cast<unsigned char>(*at_)])
        ++at_;
    return {begin, static_cast<std::size_t>(at_ - begin)};
}

std::string_view PlainScanner::attributeValue(std::string& room) {
    char const quote = peek();
    if (quote != '"' && quote != '\'') throw NotPlain();
    char const* const begin = ++at_;
    at_ =
        std::find_if_not(at_, end_, [](char c) { return kindOf(c) == Byte::ordinary || c == ' '; });
    if (peek() == quote) return {begin, static_cast<std::size_t>(at_++ - begin)};

    room.assign(begin, at_);
    for (; peek() != quote;) {
        char const c = peek();
        if (c == '&') {
            append(room, reference());
        } else if (c == '<') {
            throw NotPlain();
        } else if (kindOf(c) == Byte::special) {
            char32_t const next = character();
            append(room, next == '\n' ? U' ' : next);
        } else {
            room.push_back(kindOf(c) == Byte::space ? ' ' : c);
            ++at_;
        }
    }
    ++at_;
    return room;
}

void PlainScanner::text(ustring& to) {
    while (at_ != end_) {
        char const* const begin = at_;
        at_ = std::find_if_not(at_, end_, isPlainText);
        to.append(begin, at_);
        char const c = peek();
        if (c == '<' || c == '&') return;
        if (skip("]]>")) throw NotPlain();
        if (kindOf(c) == Byte::special) {
            append(to, character());
        } else {
            to.push_back(static_cast<char16_t>(c));
            ++at_;
        }
    }
}

void PlainScanner::section(ustring& to) {
    while (!skip("]]>")) {
        char const* const begin = at_;
        at_ = std::find_if_not(at_, end_, isPlainText);
        to.append(begin, at_);
        if (isAtEnd()) throw NotPlain();
        if (at_ != begin) continue;
        if (kindOf(*at_) == Byte::special) {
            append(to, character());
        } else {
            to.push_back(static_cast<char16_t>(*at_++));
        }
    }
}

char32_t PlainScanner::character() {
    if (isAtEnd()) throw NotPlain();
    auto const first = static_cast<unsigned char>(*at_++);
    if (first == '\r') {
        skip("\n");
        return '\n';
    }
    return continued(first);
}

char32_t PlainScanner::continued(unsigned char first) {
    std::size_t const more = first >= 0xf0 ? 3 : first >= 0xe0 ? 2 : 1;
    if (first < 0xc2 || first > 0xf4 || static_cast<std::size_t>(end_ - at_) < more) {
        throw NotPlain();
    }
    char32_t c = first & (0x3fu >> more);
    for (std::size_t i = 0; i < more; ++i) {
        auto const byte = static_cast<unsigned char>(*at_++);
        if ((byte & 0xc0) != 0x80) throw NotPlain();
        c = (c << 6) | (byte & 0x3f);
    }
    bool const isOverlong = (more == 2 && c < 0x800) || (more == 3 && c < 0x10000);
    if (isOverlong || !isCharacter(c)) throw NotPlain();
    return c;
}

char32_t PlainScanner::reference() {
    expect("&");
    if (skip("#")) return numberedCharacter();
    std::string_view const entity = name();
    expect(";");
    if (entity == "lt") return '<';
    if (entity == "gt") return '>';
    if (entity == "amp") return '&';
    if (entity == "quot") return '"';
    if (entity == "apos") return '\'';
    throw NotPlain();
}

char32_t PlainScanner::numberedCharacter() {
    unsigned const base = skip("x") ? 16 : 10;
    constexpr std::size_t mostDigits = 7;
    std::string_view const digits = name();
    expect(";");
    if (digits.empty() || digits.size() > mostDigits) throw NotPlain();
    char32_t c = 0;
    for (char const digit : digits) {
        unsigned value = base;
        if (digit >= '0' && digit <= '9') value = static_cast<unsigned>(digit - '0');
        if (digit >= 'a' && digit <= 'f') value = static_cast<unsigned>(digit - 'a') + 10;
        if (digit >= 'A' && digit <= 'F') value = static_cast<unsigned>(digit - 'A') + 10;
        if (value >= base) throw NotPlain();
        c = c * base + value;
    }
    if (!isCharacter(c)) throw NotPlain();
    return c;
}

}  // namespace settings::core::plain
