// Names of nodes, full names, and paths.
// Input: a name, a full name and a path, with NUL between them.

#include <cstdlib>

#include <boost/make_shared.hpp>
#include <qbsettings/commandline/Words.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/text/Near.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/errors/FileExceptions.hpp>
#include <settingscore/errors/TreeExceptions.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/host/Platform.hpp>
#include <settingscore/prefdir/PathUtil.hpp>
#include <settingscore/prefdir/PreferencesDirectory.hpp>

#include "Fuzzing.hpp"
#include "Trees.hpp"

namespace qbfuzz {

namespace {

using namespace settings::core;
namespace fs = qf::filesystem;

using Texts = std::vector<std::string>;

Texts partsOf(std::string const& name) {
    Texts parts(1);
    for (char const c : name) {
        if (c == '.') {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    parts.erase(std::remove(parts.begin(), parts.end(), std::string()), parts.end());
    return parts;
}

/// A tree "p" with the name as that of a group and of a key in it.
NodePtr treeWith(std::string const& name) {
    auto const make = [](std::string const& text, bool isKey, NodePtr const& parent) {
        auto const node = boost::make_shared<SettingsImpl>(text, isKey, true);
        node->setParentInternal(parent);
        return node;
    };
    NodePtr const top = make("p", false, {});
    NodePtr const key = make(name, true, make(name, false, make("g", false, top)));
    key->initSetters(1);
    key->setAnyInternal(1, "user");
    return top;
}

void tryName(std::string const& name, std::string const& fullName) {
    bool accepted = true;
    try {
        ZSettings::validateSettingOrGroupName(name);
    } catch (exception::InvalidSettingOrGroupName const&) {
        accepted = false;
    }
    NodePtr const top = treeWith(name);
    std::string saved;
    bool const isGood = isSaved(top, saved);
    require(isGood || !accepted, "a name that is accepted can be saved", name);
    if (isGood) {
        NodePtr const again = parse(folder() / "names.settings", saved);
        require(again != nullptr, "a saved name can be read", saved);
        requireSame(top, again, saved);
    }

    require(top->getSettingsByPathVec({"g", name, name}) != nullptr || name.empty(),
            "a node is found by the parts of its path", name);
    auto const found = top->getSettingsByFullName(fullName);
    Texts const parts = partsOf(fullName);
    require(found == top->getSettingsByPathVec(parts), "parts that are empty do not count",
            fullName);
    if (found) {
        require(found->getFullName() == "p." + qbsettings::join(parts, "."),
                "a node that is found has the name that was looked for", fullName);
    }
}

bool endsWith(ustring const& text, ustring const& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

void tryPath(std::string const& bytes) {
    fs::path const path = fs::from_native(bytes);
    require(path.native() == bytes, "a path keeps the bytes of the system", bytes);
    require(endsWith(path.filename().str(), path.extension()), "an extension ends the name", bytes);
    fs::path const absolute = fs::absolute(path, fs::path(u"/base"));
    ustring const text = absolute.str() + (absolute.str() == u"/" ? u"" : u"/");
    require(absolute.is_absolute(), "an absolute path is absolute", bytes);
    for (char16_t const* piece : {u"//", u"/./", u"/../"})
        require(text.find(piece) == ustring::npos, "an absolute path is plain", bytes);
    require(fs::absolute(absolute, fs::path()) == absolute, "a plain path stays as it is", bytes);
    require(absolute.parent_path() / absolute.filename() == absolute,
            "folder and file name make the path", bytes);

    ustring const stripped = stripFinalPathNameSepUStr(path.str());
    require(!endsWith(stripped, u"/") && path.str().compare(0, stripped.size(), stripped) == 0 &&
                path.str().find_first_not_of(u'/', stripped.size()) == ustring::npos,
            "separators at the end are taken off, and nothing else", bytes);
    StripFinalPathNameSep(bytes);
    pathutilinternal::NormalizePrefDirHome(path.str());
    pathutilinternal::tildeExpansionUStr(path.str());
    pathutilinternal::tildeExpansionUStr(u"~" + path.str());
}

/// As a home, as the name of a user, and as a preference directory; none is made.
void tryDirectory(std::string const& bytes) {
    for (auto const& [home, user] : {std::pair(bytes, std::string()), {std::string(), bytes}}) {
        ::setenv("HOME", home.c_str(), 1);
        ::setenv("USER", user.c_str(), 1);
        ustring const directory = getStandardPreferencesDirectoryUStr();
        require(directory.find(u".zenbar/") != ustring::npos, "a release has its folder", bytes);
        bool const isAbsolute = home.compare(0, 1, "/") == 0;
        require(!isAbsolute || fs::path(directory).is_absolute(), "a home counts", bytes);
    }
    ustring const directory = fs::from_native(bytes).str();
    setPreferencesDirectoryUStr(directory);
    try {
        ustring const got = getPreferencesDirectoryUStr(false);
        require(directory.empty() || (got == directory && fs::path(got).is_absolute()),
                "the directory that was set is the one in force", bytes);
    } catch (exception::RelativePreferencePathNotSupported const&) {
        require(!fs::path(directory).is_absolute(), "an absolute path is taken", bytes);
    }
    setPreferencesDirectoryUStr({});
}

void tryWords(std::string const& a, std::string const& b) {
    using namespace qbsettings;
    std::string const first = a.substr(0, 32);
    std::string const second = b.substr(0, 32);
    std::size_t const distance = editDistance(first, second);
    require(distance == editDistance(second, first) &&
                distance <= std::max(first.size(), second.size()),
            "a distance is the same both ways", first + "\n" + second);
    auto const [group, name] = splitLast(a);
    require((group.empty() ? name : group + "." + name) == a || a.front() == '.',
            "a name is its group and its own", a);
    for (std::string const& text : {asLine(a), asColumn(a)}) {
        require(isUtf8(text) && text.find_first_of("\n\t") == std::string::npos,
                "what is printed is a line of UTF-8", a);
    }
    if (a == "--" || b == "--") return;
    Texts words = markWords({a, b});
    unmark(words);
    require(words == Texts{a, b}, "words are the same behind the option parser", a + "\n" + b);
}

}  // namespace

void fuzz(std::string const& input) {
    auto const texts = pieces(input, 3);
    tryName(texts[0], texts[1]);
    tryWords(texts[0], texts[1]);
    tryPath(texts[2]);
    // No environment holds a NUL.
    tryDirectory(texts[2].substr(0, texts[2].find('\0')));
}

}  // namespace qbfuzz
