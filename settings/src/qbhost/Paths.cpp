#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string_view>

#include <unistd.h>

#include <qbhost/FsysError.hpp>
#include <qbhost/Utf.hpp>

namespace qf::filesystem {
namespace {

constexpr char16_t separator = u'/';

// Stray bytes of a name travel as these.
constexpr char16_t firstStray = 0xDC80;
constexpr char16_t lastStray = 0xDCFF;

std::size_t startOfFilename(ustring const& text) {
    std::size_t const last = text.rfind(separator);
    return last == ustring::npos ? 0 : last + 1;
}

path workingDirectory() {
    std::unique_ptr<char, void (*)(void*)> const bytes(::getcwd(nullptr, 0), std::free);
    if (!bytes) qbhost::detail::failFsys("cannot tell the working directory", path(), errno);
    return from_native(bytes.get());
}

path normalised(path const& p) {
    std::u16string_view const text = p.str();
    ustring result;
    result.reserve(text.size() + 1);
    for (std::size_t from = 0; from < text.size();) {
        std::size_t const to = std::min(text.find(separator, from), text.size());
        std::u16string_view const part = text.substr(from, to - from);
        from = to + 1;
        if (part == upath_constant::PARENT_DIRECTORY) {
            result.resize(result.empty() ? 0 : result.rfind(separator));
        } else if (!part.empty() && part != upath_constant::CURRENT_DIRECTORY) {
            result += separator;
            result += part;
        }
    }
    if (result.empty()) result = separator;
    return result;
}

}  // namespace

ustring const upath_constant::PATHNAME_SEPARATOR = u"/";
ustring const upath_constant::CURRENT_DIRECTORY = u".";
ustring const upath_constant::PARENT_DIRECTORY = u"..";

bool detail::is_absolute(ustring const& text) { return !text.empty() && text[0] == separator; }

std::string path::native() const {
    std::string bytes;
    bytes.reserve(text_.size());
    qbhost::detail::decodeUtf(
        text_, [&](auto point) { qbhost::detail::appendUtf(bytes, point); },
        [&](char16_t unit) {
            if (unit >= firstStray && unit <= lastStray)
                bytes += static_cast<char>(unit - 0xDC00);
            else  // Two different paths must not name one file, so no replacement character.
                qbhost::detail::appendUtf(bytes, unit);
        });
    return bytes;
}

path from_native(std::string const& bytes) {
    ustring text;
    text.reserve(bytes.size());
    qbhost::detail::decodeUtf(
        bytes, [&](auto point) { qbhost::detail::appendUtf(text, point); },
        [&](char byte) {
            text += static_cast<char16_t>(0xDC00 + static_cast<unsigned char>(byte));
        });
    return text;
}

path path::filename() const { return text_.substr(startOfFilename(text_)); }

path path::parent_path() const {
    std::size_t length = startOfFilename(text_);
    while (length > 1 && text_[length - 1] == separator)
        --length;
    return text_.substr(0, length);
}

ustring path::extension() const {
    std::size_t const name = startOfFilename(text_);
    std::size_t const dot = text_.rfind(u'.');
    if (dot == ustring::npos || dot <= name) return {};
    if (text_.compare(name, ustring::npos, upath_constant::PARENT_DIRECTORY) == 0) return {};
    return text_.substr(dot);
}

bool path::is_absolute() const { return detail::is_absolute(text_); }

path operator/(path const& left, path const& right) {
    if (left.empty()) return right;
    std::size_t const begin = right.text_.find_first_not_of(separator);
    if (begin == ustring::npos) return left;
    std::size_t const end = left.text_.find_last_not_of(separator);
    ustring joined = end == ustring::npos ? ustring() : left.text_.substr(0, end + 1);
    joined += separator;
    joined.append(right.text_, begin, ustring::npos);
    return joined;
}

path absolute(path const& p, path const& base) {
    if (p.is_absolute()) return normalised(p);
    return normalised((base.is_absolute() ? base : workingDirectory() / base) / p);
}

ustring extract_filename(ustring const& text) { return text.substr(startOfFilename(text)); }

}  // namespace qf::filesystem
