#pragma once

#include <locale>
#include <sstream>
#include <string>

#include <settingscore/host/UString.hpp>

namespace qf::io {

/// A stream of 16-bit characters that formats numbers as a narrow stream does by default, in the
/// classic locale.
class uostream {
public:
    uostream() { narrow_.imbue(std::locale::classic()); }

    /// @{
    /// Appends a text or a number.
    uostream& operator<<(ustring const& text) {
        text_ += text;
        return *this;
    }
    uostream& operator<<(char16_t const* text) {
        text_ += text;
        return *this;
    }
    template <class Number>
    uostream& operator<<(Number const& number) {
        narrow_.str(std::string());
        narrow_ << number;
        for (char c : narrow_.str())
            text_ += static_cast<char16_t>(static_cast<unsigned char>(c));
        return *this;
    }
    /// @}
    /// What was written.
    ustring const& str() const { return text_; }

private:
    std::ostringstream narrow_;
    ustring text_;
};

}  // namespace qf::io
