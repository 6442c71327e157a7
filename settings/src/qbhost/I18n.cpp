#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <vector>

#include <pwd.h>
#include <sys/auxv.h>
#include <unistd.h>

#include <boost/algorithm/string/predicate.hpp>
#include <qbhost/Utf.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>

namespace qf::i18n {

using boost::locale::utf::code_point;

std::string to_string(ustring const& text) {
    std::string result;
    result.reserve(text.size());
    qbhost::detail::decodeUtf(
        text, [&](code_point point) { qbhost::detail::appendUtf(result, point); },
        [&](char16_t) { qbhost::detail::appendUtf(result, 0xFFFD); });
    return result;
}

ustring to_ustring(std::string const& text) {
    ustring result;
    result.reserve(text.size());
    qbhost::detail::decodeUtf(
        text, [&](code_point point) { qbhost::detail::appendUtf(result, point); },
        [&](char byte) { result += static_cast<char16_t>(static_cast<unsigned char>(byte)); });
    return result;
}

std::string codecvt_ustring_to_string(ustring const& text, char const* encoding) {
    std::string const name = encoding ? encoding : "";
    if (!boost::algorithm::iequals(name, "UTF-8", std::locale::classic()))
        throw std::invalid_argument("unknown text encoding '" + name + "'");
    return to_string(text);
}

namespace {

/// Without it the preference directory would be one that anybody can make.
ustring ownHome() {
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(std::size_t{1} << 14);
    constexpr std::size_t most = std::size_t{1} << 20;
    int error = 0;
    while ((error = ::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found)) ==
               ERANGE &&
           buffer.size() < most) {
        buffer.resize(2 * buffer.size());
    }
    return error == 0 && found ? filesystem::from_native(entry.pw_dir).str() : ustring();
}

}  // namespace

ustring getenv(char const* name) {
    if (char const* const value = ::secure_getenv(name))
        return filesystem::from_native(value).str();
    bool const isRaised = ::getauxval(AT_SECURE) != 0;
    return isRaised && name == std::string_view("HOME") ? ownHome() : ustring();
}

qbLocale const& qbLocale::global() {
    static qbLocale const locale;
    return locale;
}

}  // namespace qf::i18n
