#pragma once

#include <cstddef>
#include <exception>
#include <string>
#include <string_view>

#include <settingscore/host/UString.hpp>

namespace settings::core::plain {

/// The text is not of the plain form. It says nothing of whether it is good.
struct NotPlain : std::exception {};

/// Takes pieces of markup from a text, from its start to its end. Whatever it does not know for
/// certain it refuses with `NotPlain`.
class PlainScanner {
public:
    explicit PlainScanner(std::string_view text)
        : at_(text.data()), end_(text.data() + text.size()) {}

    bool isAtEnd() const { return at_ == end_; }
    /// The next byte; NUL at the end, which no text holds.
    char peek() const { return at_ == end_ ? '\0' : *at_; }
    /// Steps over the words if they are next.
    bool skip(std::string_view words) {
        if (peek() != words.front() || static_cast<std::size_t>(end_ - at_) < words.size()) {
            return false;
        }
        for (std::size_t i = 1; i < words.size(); ++i)
            if (at_[i] != words[i]) return false;
        at_ += words.size();
        return true;
    }
    bool skip(char mark) {
        if (peek() != mark) return false;
        ++at_;
        return true;
    }
    template <class Words>
    void expect(Words const& words) {
        if (!skip(words)) throw NotPlain();
    }
    /// True if there was white space.
    bool skipSpace() {
        char const* const begin = at_;
        while (at_ != end_ && (*at_ == ' ' || *at_ == '\n' || *at_ == '\t' || *at_ == '\r'))
            ++at_;
        return at_ != begin;
    }
    /// True if there is a "<?" further on, and nothing before it that could make a text of it. One
    /// at the end of a long file would cost a reading of all before it in vain.
    bool hasInstruction() const;
    /// Behind the "<!--" of a comment: steps over the rest of it.
    void skipComment();
    /// The name that is next; of ASCII letters and the marks of names. May be empty.
    std::string_view name();
    /// The value of an attribute, with its quotes, as a parser tells it. `room` is there for one
    /// that does not stand in the text as it is.
    std::string_view attributeValue(std::string& room);
    /// Appends text up to the next "<" or "&", which may be at once.
    void text(ustring& to);
    /// Behind the "<![CDATA[" of a section: appends what stands in it.
    void section(ustring& to);
    /// The character of the reference that is next.
    char32_t reference();

private:
    /// The character of more than a byte, or the line end, that is next.
    char32_t character();
    char32_t continued(unsigned char first);
    char32_t numberedCharacter();

    char const* at_;
    char const* end_;
};

/// Appends a character in UTF-16.
void append(ustring& to, char32_t character);

}  // namespace settings::core::plain
