#include <qbsettings/check/NeverRead.hpp>

#include <sys/stat.h>

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

void add(Findings& findings, qf::ustring const& file, std::string const& message) {
    findings.add(Warning{{file, message}, "never-read"});
}

}  // namespace

NeverRead::Identity NeverRead::identityOf(qf::ustring const& file) {
    struct ::stat status {};
    if (::stat(fs::path(file).native().c_str(), &status) != 0) return {0, 0};
    return {status.st_dev, status.st_ino};
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
    if (!isComplete_) return;
    for (qf::ustring const& file : Directories::filesIn(directories.factory())) {
        if (!isSettingsFile(file) || isRead(file)) continue;
        add(findings, file,
            "is never read, because the files of a product lie in a folder of its name");
    }
    for (qf::ustring const& folder : directories.factoryFolders()) {
        std::string const product = Directories::productOfFactoryFolder(folder);
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
