#include <qbsettings/check/Checker.hpp>

#include <qbsettings/check/Findings.hpp>
#include <qbsettings/check/MarkupReview.hpp>
#include <qbsettings/check/ValueReview.hpp>
#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/output/Terminal.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/FaultPlace.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/persistence/LeftOverFolders.hpp>
#include <settingscore/persistence/Markup.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace fs = qf::filesystem;
using settings::core::Markup;
using settings::core::readMarkup;
using settings::core::Settings;

namespace {

/// Finds the user files that saves set aside.
void findKeptAside(qf::ustring const& folder, Findings& findings) {
    static qf::ustring const mark = u".settings.rejected";
    for (fs::path const file : Directories::filesIn(folder)) {
        qf::ustring const name = file.filename().str();
        std::size_t const at = name.rfind(mark);
        if (at == qf::ustring::npos || at == 0) continue;
        if (name.find_first_not_of(u".0123456789", at + mark.size()) != qf::ustring::npos) continue;
        findings.add(
            Warning{{file.str(),
                     "set aside because it could not be read when its product was saved; repair "
                     "it and put it in place of " +
                         pathText(name.substr(0, at)) + ".settings, or delete it"},
                    "kept-aside"});
    }
}

/// The temporary folders that killed processes left in the folder; removes them if told.
void findLeftOvers(qf::ustring const& folder, bool clean, Findings& findings) {
    for (qf::ustring const& leftOver : settings::core::leftOverFolders(folder)) {
        std::string message =
            "left by a process that was killed while it saved; 'check --clean' removes it";
        if (clean) {
            try {
                fs::remove_all(leftOver);
                message =
                    "was left by a process that was killed while it saved, and is removed now";
            } catch (fs::FsysExceptionBase const& error) {
                findings.add(Fault{leftOver, "cannot be removed: " + error.reason()});
                continue;
            }
        }
        findings.add(Warning{{leftOver, message}, "left-over"});
    }
}

}  // namespace

void Checker::checkAll(bool clean) {
    auto const products = context_.tree.products();
    for (Fault const& fault : context_.tree.faults())
        findings_.add(fault);
    findKeptAside(context_.directories.user(), findings_);
    findLeftOvers(context_.directories.user(), clean, findings_);
    Progress progress("checking product", products.size());
    for (SettingsPtr const& product : products) {
        progress.step();
        checkProduct(product);
    }
    std::set<std::string> names;
    for (SettingsPtr const& product : products)
        names.insert(product->getName());
    neverRead_.report(context_.directories, names, findings_);
}

void Checker::checkNamed(qf::ustring const& file) {
    std::string const name = context_.directories.productOfUserFile(file);
    SettingsPtr const product = name.empty() ? SettingsPtr() : context_.tree.root()->getChild(name);
    if (!product) {
        checkFile(file, !name.empty());
        return;
    }
    context_.tree.childrenOf(product);
    for (Fault const& fault : context_.tree.faults()) {
        if (fault.file == context_.directories.userFile(name)) findings_.add(fault);
    }
    std::vector<SettingsPtr> factoryFiles;
    for (qf::ustring const& factoryFile : context_.directories.factoryFiles(name)) {
        try {
            factoryFiles.push_back(Settings::importAsStandaloneObject(factoryFile));
        } catch (std::exception const&) {
            // Its faults are not asked for.
        }
    }
    checkUserFile(product, factoryFiles);
}

void Checker::checkProduct(SettingsPtr const& product) {
    std::string const name = product->getName();
    auto const& faults = context_.tree.faults();
    std::size_t const before = faults.size();
    context_.tree.childrenOf(product);
    for (std::size_t i = before; i < faults.size(); ++i)
        findings_.add(faults[i]);

    std::vector<SettingsPtr> factoryFiles;
    for (qf::ustring const& file : context_.directories.factoryFiles(name)) {
        if (SettingsPtr const content = checkFile(file, false)) factoryFiles.push_back(content);
    }
    if (fs::exists(context_.directories.userFile(name))) checkUserFile(product, factoryFiles);
}

void Checker::checkUserFile(SettingsPtr const& product,
                            std::vector<SettingsPtr> const& factoryFiles) {
    qf::ustring const file = context_.directories.userFile(product->getName());
    SettingsPtr const content = checkFile(file, true);
    if (!content) return;
    addAll(file, [&] {
        return warningsOfValues(context_.directories, {file, content, product, factoryFiles,
                                                       context_.tree.isFaulty(file)});
    });
}

/// Reads one file by itself; empty if it has faults, which are added unless its load added them.
SettingsPtr Checker::checkFile(qf::ustring const& file, bool ofUser) {
    SettingsPtr content;
    neverRead_.addRead(file);
    try {
        content = Settings::importAsStandaloneObject(file);
    } catch (std::exception const& error) {
        if (!ofUser) neverRead_.addFaulty();
        if (!context_.tree.isFaulty(file)) findings_.add(placedFault(faultOfImport(file, error)));
        return {};
    }
    checkMarkup(file, ofUser);
    return content;
}

/// The words of a file and of those that it names.
void Checker::checkMarkup(qf::ustring const& first, bool ofUser) {
    fs::path const folder = fs::path(first).parent_path();
    std::vector<qf::ustring> files = {first};
    for (std::size_t i = 0; i < files.size(); ++i) {
        qf::ustring const file = files[i];
        if (!reviewed_.insert(file).second) continue;
        neverRead_.addRead(file);
        addAll(file, [&] {
            Markup const top = readMarkup(file);
            for (Markup const& child : top.children) {
                if (child.tag != "additionalpath") continue;
                fs::path const next = qf::i18n::to_ustring(child.lastPiece);
                files.push_back(fs::absolute(next, folder).str());
            }
            return warningsOfMarkup(file, top, ofUser);
        });
    }
}

/// A file can be gone between two looks at it.
template <class Look>
void Checker::addAll(qf::ustring const& file, Look const& look) {
    try {
        for (Warning const& warning : look())
            findings_.add(warning);
    } catch (std::exception const& error) {
        findings_.add(faultOfImport(file, error));
    }
}

}  // namespace qbsettings
