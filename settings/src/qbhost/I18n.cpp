#include <cstdlib>
#include <stdexcept>

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

ustring getenv(char const* name) {
    char const* const value = std::getenv(name);
    return value ? filesystem::from_native(value).str() : ustring();
}

qbLocale const& qbLocale::global() {
    static qbLocale const locale;
    return locale;
}

}  // namespace qf::i18n
