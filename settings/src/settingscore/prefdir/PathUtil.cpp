#include <settingscore/prefdir/PathUtil.hpp>

#include <cstddef>
#include <string>

#include <pwd.h>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/prefdir/PreferencesDirectory.hpp>
#include <settingscore/prefdir/Releases.hpp>

namespace settings::core {

namespace {

constexpr char const* homeVariable = "HOME";
constexpr char const* userVariable = "USER";
constexpr char const* directoryVariable = "ZENBAR_PREFDIR";
constexpr char16_t const* perUserFolder = u".zenbar/";

/// Empty if there is no such user, or if his entry is longer than the buffer.
ustring homeDirectoryOf(ustring const& user) {
    char buffer[1024];
    passwd entry{};
    passwd* found = nullptr;
    std::string const name = qf::i18n::to_string(user);
    if (::getpwnam_r(name.c_str(), &entry, buffer, sizeof(buffer), &found) != 0 || !found) {
        return {};
    }
    return qf::filesystem::from_native(found->pw_dir).str();
}

}  // namespace

namespace posix {

ustring zenbarDefaultPrefDirPrefixUStr() {
    if (ustring const home = qf::i18n::getenv(homeVariable); !home.empty()) {
        ustring const prefix = pathutilinternal::NormalizePrefDirHome(home);
        // The root folder in any spelling.
        return prefix.empty() && home.find(u'/') != ustring::npos ? ustring(u"/") : prefix;
    }
    if (ustring const user = qf::i18n::getenv(userVariable); !user.empty()) {
        return pathutilinternal::tildeExpansionUStr(u"~" + user);
    }
    return ustring(u"/") + u"tmp";
}

ustring zenbarLocalSettingsDirPrefixUStr() { return zenbarDefaultPrefDirPrefixUStr(); }

ustring zenbarDefaultPrefDirSuffixUStr(ustring const& release) { return perUserFolder + release; }

}  // namespace posix

ustring zenbarDefaultPrefDirPrefixUStr() { return posix::zenbarDefaultPrefDirPrefixUStr(); }

ustring zenbarLocalSettingsDirPrefixUStr() { return posix::zenbarLocalSettingsDirPrefixUStr(); }

ustring zenbarDefaultPrefDirSuffixUStr(ustring const& release) {
    return posix::zenbarDefaultPrefDirSuffixUStr(release);
}

ustring stripFinalPathNameSepUStr(ustring const& path) {
    std::size_t const last =
        path.find_last_not_of(qf::filesystem::upath_constant::PATHNAME_SEPARATOR);
    return last == ustring::npos ? ustring() : path.substr(0, last + 1);
}

std::string StripFinalPathNameSep(std::string const& path) {
    // As paths: bytes that are no UTF-8 stay what they are.
    ustring const stripped = stripFinalPathNameSepUStr(qf::filesystem::from_native(path).str());
    return qf::filesystem::path(stripped).native();
}

namespace pathutilinternal {

ustring NormalizePrefDirHome(ustring const& path) {
    if (path.size() < 2) return path;
    bool const quoted = path.front() == u'"' && path.back() == u'"';
    return stripFinalPathNameSepUStr(quoted ? path.substr(1, path.size() - 2) : path);
}

ustring tildeExpansionUStr(ustring const& path) {
    constexpr std::size_t longestName = 8;
    if (path.empty() || path.front() != u'~') return path;
    std::size_t const slash = path.find(u'/');
    std::size_t const nameEnd = slash == ustring::npos ? path.size() : slash;
    if (nameEnd == 1) return qf::i18n::getenv(homeVariable) + path.substr(1);
    ustring const name = path.substr(1, nameEnd - 1);
    return (name.size() <= longestName ? homeDirectoryOf(name) : ustring()) + path.substr(nameEnd);
}

ustring preferencesDirectoryForRelease(ustring const& release) {
    ustring const prefix = posix::zenbarDefaultPrefDirPrefixUStr();
    ustring stripped = stripFinalPathNameSepUStr(prefix);
    // The root folder is a home too; without its separator the result would be relative.
    if (stripped.empty() && !prefix.empty()) stripped = prefix.substr(0, 1);
    return (qf::filesystem::path(stripped) / posix::zenbarDefaultPrefDirSuffixUStr(release)).str();
}

void getDefaultPreferencesDirectoryOnce(ustring& directory) {
    ustring const fromEnvironment = qf::i18n::getenv(directoryVariable);
    directory = fromEnvironment.empty() ? preferencesDirectoryForRelease(releases::current)
                                        : fromEnvironment;
}

}  // namespace pathutilinternal

}  // namespace settings::core
