#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

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
    ustring const& text = p.str();
    std::vector<ustring> parts;
    for (std::size_t from = 0; from < text.size();) {
        std::size_t to = text.find(separator, from);
        if (to == ustring::npos) to = text.size();
        ustring part = text.substr(from, to - from);
        from = to + 1;
        if (part == upath_constant::PARENT_DIRECTORY) {
            if (!parts.empty()) parts.pop_back();
        } else if (!part.empty() && part != upath_constant::CURRENT_DIRECTORY) {
            parts.push_back(std::move(part));
        }
    }
    ustring result;
    for (ustring const& part : parts)
        result += separator + part;
    return result.empty() ? path(ustring(1, separator)) : path(result);
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
    ustring const name = extract_filename(text_);
    std::size_t const dot = name.rfind(u'.');
    if (dot == ustring::npos || dot == 0 || name == upath_constant::PARENT_DIRECTORY) return {};
    return name.substr(dot);
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

ustring extract_filename(ustring const& text) { return path(text).filename().str(); }

}  // namespace qf::filesystem
