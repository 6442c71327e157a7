#include <qbsettings/check/NeverRead.hpp>

#include <sys/stat.h>

#include <algorithm>
#include <vector>

#include <qbsettings/check/Findings.hpp>
#include <qbsettings/store/Directories.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/value/AsciiCase.hpp>

namespace qbsettings {

namespace fs = qf::filesystem;

namespace {

constexpr char const* readExtension = ".settings";
constexpr char const* wrongCase =
    "is never read, because the extension of settings files is '.settings', in lower case";

std::string extensionOf(fs::path const& file) { return qf::i18n::to_string(file.extension()); }

/// In any case.
bool isSettingsFile(fs::path const& file) {
    return settings::core::detail::foldedAscii(extensionOf(file)) == readExtension;
}

/// A name that people give to settings files, though no load looks at it.
bool isNearlySettingsFile(fs::path const& file) {
    std::string const name = settings::core::detail::foldedAscii(pathText(file.filename().str()));
    if (name.front() == '.' || isSettingsFile(file)) return false;
    // What a save set aside has a finding of its own.
    if (name.find(".settings.rejected") != std::string::npos) return false;
    std::string const extension = name.substr(std::min(name.rfind('.'), name.size()));
    return extension == ".xml" || extension == ".setting" ||
           name.find(".settings") != std::string::npos;
}

bool isDangling(std::string const& path) {
    struct ::stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode) &&
           ::stat(path.c_str(), &status) != 0;
}

/// Links to nothing in a folder.
std::vector<qf::ustring> danglingLinks(qf::ustring const& folder) {
    std::vector<qf::ustring> links;
    try {
        for (auto const& entry : fs::basic_directory_iterator(folder)) {
            if ((entry.status() & fs::file_type_mask) == fs::regular_file) continue;
            if (isDangling(entry.full_pathname().native()))
                links.push_back(entry.full_pathname().str());
        }
    } catch (fs::FsysExceptionBase const&) {  // NOLINT(bugprone-empty-catch): told elsewhere
    }
    return links;
}

void add(Findings& findings, qf::ustring const& file, std::string const& message) {
    findings.add({{file, message}, "never-read"});
}

}  // namespace

NeverRead::Identity NeverRead::identityOf(qf::ustring const& file) {
    struct ::stat status {};
    if (::stat(fs::path(file).native().c_str(), &status) != 0) return {0, 0};
    return {status.st_dev, status.st_ino};
}

/// What is in no place at all for settings files, by its name or since nothing is there.
void NeverRead::reportStrangers(qf::ustring const& folder, Findings& findings) const {
    for (qf::ustring const& file : Directories::filesIn(folder)) {
        if (!isNearlySettingsFile(file) || isRead(file)) continue;
        add(findings, file,
            "is never read, because the names of settings files end in '.settings'");
    }
    for (qf::ustring const& link : danglingLinks(folder))
        add(findings, link, "is a link to nothing");
}

/// Folders in that of a product, no deeper than anybody nests them; links are not followed.
void NeverRead::reportBelow(qf::ustring const& folder, int depth, Findings& findings) const {
    for (std::string const& name : Directories::foldersIn(folder)) {
        fs::path const below = fs::path(folder) / qf::i18n::to_ustring(name);
        struct ::stat status {};
        if (::lstat(below.native().c_str(), &status) != 0 || S_ISLNK(status.st_mode)) continue;
        for (qf::ustring const& file : Directories::filesIn(below.str())) {
            if (!isSettingsFile(file) || isRead(file)) continue;
            add(findings, file,
                "is never read, because folders in the folder of a product are not looked into, "
                "and "
                "no file names it in 'additionalpath'");
        }
        if (depth > 1) reportBelow(below.str(), depth - 1, findings);
    }
}

void NeverRead::addRead(qf::ustring const& file) { read_.insert(identityOf(file)); }

void NeverRead::report(Directories const& directories, std::set<std::string> const& products,
                       Findings& findings) const {
    for (fs::path const file : Directories::filesIn(directories.user())) {
        if (!isSettingsFile(file)) continue;
        std::string const name = pathText(file.filename().str());
        if (extensionOf(file) != readExtension) {
            add(findings, file.str(), wrongCase);
        } else if (products.count(name.substr(0, name.rfind('.'))) == 0) {
            add(findings, file.str(),
                "is never read, because there is a product whose name differs only in case");
        }
    }
    reportStrangers(directories.user(), findings);
    if (!isComplete_) return;
    reportStrangers(directories.factory(), findings);
    for (qf::ustring const& file : Directories::filesIn(directories.factory())) {
        if (!isSettingsFile(file) || isRead(file)) continue;
        add(findings, file,
            "is never read, because the files of a product lie in a folder of its name");
    }
    for (qf::ustring const& folder : directories.factoryFolders()) {
        std::string const product = Directories::productOfFactoryFolder(folder);
        constexpr int deepest = 8;
        reportStrangers(folder, findings);
        reportBelow(folder, deepest, findings);
        std::string const hiding = directories.hidingProduct(folder, products);
        for (qf::ustring const& file : Directories::filesIn(folder)) {
            if (!isSettingsFile(file) || isRead(file)) continue;
            if (!hiding.empty()) {
                add(findings, file,
                    "is never read, because there is a product " + inQuotes(hiding) +
                        ", and product names may not differ only in case");
            } else if (products.count(product) == 0) {
                add(findings, file,
                    "is never read, because " + inQuotes(product) +
                        " is not read as a product, and no file names it in 'additionalpath'");
            } else if (extensionOf(file) != readExtension) {
                add(findings, file, wrongCase);
            }
        }
    }
}

}  // namespace qbsettings
