#include <qbsettings/check/Checker.hpp>

#include <algorithm>
#include <utility>

#include <qbsettings/check/DefaultReview.hpp>
#include <qbsettings/check/DefinitionReview.hpp>
#include <qbsettings/check/DefinitionsBeside.hpp>
#include <qbsettings/check/EveryFault.hpp>
#include <qbsettings/check/Findings.hpp>
#include <qbsettings/check/MarkupReview.hpp>
#include <qbsettings/check/TextReview.hpp>
#include <qbsettings/check/ValueReview.hpp>
#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/output/Terminal.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/FaultPlace.hpp>
#include <qbsettings/store/FaultSearch.hpp>
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
        findings.add({{file.str(),
                       "set aside because it could not be read when its product was saved; "
                       "repair it and put it in place of " +
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
                findings.add({{leftOver, "cannot be removed: " + error.reason()}, "not-removed"});
                continue;
            }
        }
        findings.add({{leftOver, message}, "left-over"});
    }
}

/// What kind of fault it is. `product` is that of the file, if it is known.
char const* kindOf(Fault const& fault, std::string const& product) {
    try {
        if (fault.file.empty() || (fs::status(fault.file) & fs::file_type_mask) != fs::regular_file)
            return "unreadable";
        Markup const top = readMarkup(fault.file);
        if (!refusalOf(fault.file, fault.file).empty()) return "refused-file";
        bool const isNamed = product.empty() || top.attribute("name") == product;
        return isNamed ? "refused-together" : "wrong-root";
    } catch (fs::FsysExceptionBase const&) {
        return "unreadable";
    } catch (std::exception const&) {
        return "not-well-formed";
    }
}

bool endsWith(std::string const& text, std::string const& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// True for the first that is one of those told, which it takes away. A parser can have seen it at
/// another place, of which it did not know the key.
bool wasTold(std::vector<Fault>& told, Fault const& fault) {
    auto const same = std::find_if(told.begin(), told.end(), [&](Fault const& each) {
        bool const isThere = each.line == fault.line && each.column == fault.column;
        return isThere || each.message == fault.message ||
               (each.key.empty() && endsWith(fault.message, each.message));
    });
    if (same == told.end()) return false;
    told.erase(same);
    return true;
}

}  // namespace

void Checker::add(Fault const& fault) {
    findings_.add({fault, kindOf(fault, context_.directories.productOfFile(fault.file))});
}

void Checker::checkAll(bool clean) {
    auto const products = context_.tree.products();
    for (Fault const& fault : context_.tree.faults())
        add(fault);
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
    if (TextReview::isTextsFile(file) && fs::exists(file)) {
        addAll(file, [&] { return TextReview(context_.directories, context_.tree).ofFile(file); });
        return;
    }
    std::string const name = context_.directories.productOfUserFile(file);
    SettingsPtr const product = name.empty() ? SettingsPtr() : context_.tree.root()->getChild(name);
    if (!product) {
        checkFile(file, !name.empty());
        return;
    }
    context_.tree.childrenOf(product);
    for (Fault const& fault : context_.tree.faults()) {
        if (fault.file == context_.directories.userFile(name)) add(fault);
    }
    std::vector<SettingsPtr> factoryFiles;
    auto const files = context_.directories.factoryFiles(name);
    for (qf::ustring const& factoryFile : files) {
        try {
            factoryFiles.push_back(Settings::importAsStandaloneObject(factoryFile));
        } catch (std::exception const&) {
            // Its faults are not asked for.
        }
    }
    checkUserFile(product, factoryFiles, factoryFiles.size() == files.size());
}

void Checker::checkProduct(SettingsPtr const& product) {
    std::string const name = product->getName();
    auto const& faults = context_.tree.faults();
    std::size_t const before = faults.size();
    context_.tree.childrenOf(product);
    for (std::size_t i = before; i < faults.size(); ++i)
        add(faults[i]);

    std::vector<SettingsPtr> factoryFiles;
    DefinitionsBeside beside;
    auto const files = context_.directories.factoryFiles(name);
    for (qf::ustring const& file : files) {
        SettingsPtr const content = checkFile(file, false);
        if (!content) continue;
        factoryFiles.push_back(content);
        if (files.size() > 1)
            addAll(file, [&] { return beside.add(file, readMarkup(file), content); });
    }
    checkTexts(product, factoryFiles.size() == files.size());
    if (fs::exists(context_.directories.userFile(name)))
        checkUserFile(product, factoryFiles, factoryFiles.size() == files.size());
}

void Checker::checkTexts(SettingsPtr const& product, bool isWhole) {
    addAll(context_.directories.factoryFolder(product->getName()), [&] {
        TextReview review(context_.directories, context_.tree);
        std::vector<Finding> findings = review.ofProduct(product, isWhole);
        if (wantsTexts_) {
            std::vector<Finding> const missing = review.ofMissing(product);
            findings.insert(findings.end(), missing.begin(), missing.end());
        }
        return findings;
    });
}

void Checker::checkUserFile(SettingsPtr const& product,
                            std::vector<SettingsPtr> const& factoryFiles, bool areAll) {
    qf::ustring const file = context_.directories.userFile(product->getName());
    SettingsPtr const content = checkFile(file, true);
    if (!content) return;
    addAll(file, [&] {
        return findingsOfValues(context_.directories, {file, content, product, factoryFiles, areAll,
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
        std::vector<Fault> told;
        for (Fault const& fault : context_.tree.faults()) {
            if (fault.file == file) told.push_back(fault);
        }
        if (told.empty()) {
            told.push_back(placedFault(faultOfImport(file, error)));
            add(told.front());
        }
        addOthers(file, std::move(told));
        return {};
    }
    checkMarkup(file, content, ofUser);
    return content;
}

/// A load ends with the first fault of a file.
void Checker::addOthers(qf::ustring const& file, std::vector<Fault> told) {
    // Whoever has so many wants to mend these first.
    constexpr std::size_t most = 100;
    try {
        std::vector<Fault> const faults = everyFault(file, readMarkup(file), most);
        for (Fault const& fault : faults) {
            if (!wasTold(told, fault)) findings_.add({fault, "refused-file"});
        }
        if (faults.size() == most)
            findings_.add({{file, "there are more faults than these"}, "refused-file"});
    } catch (std::exception const&) {  // NOLINT(bugprone-empty-catch): the first fault is told
    }
}

/// The words of a file and of those that it names.
void Checker::checkMarkup(qf::ustring const& first, SettingsPtr const& content, bool ofUser) {
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
            return reviewsOf(file, top, content, ofUser);
        });
    }
}

/// What each of the reviews of a single file finds, in the order of the file.
std::vector<Finding> Checker::reviewsOf(qf::ustring const& file, Markup const& top,
                                        SettingsPtr const& content, bool ofUser) {
    std::vector<Finding> findings = findingsOfMarkup(file, top, ofUser);
    auto const append = [&](std::vector<Finding> const& more) {
        findings.insert(findings.end(), more.begin(), more.end());
    };
    append(findingsOfDefinitions(file, top, ofUser));
    if (!ofUser) {
        append(functions_.run(file, top));
        append(findingsOfDefaults(file, top, content));
    }
    std::stable_sort(findings.begin(), findings.end(), [](Finding const& a, Finding const& b) {
        return std::pair(a.line, a.column) < std::pair(b.line, b.column);
    });
    return findings;
}

/// A file can be gone between two looks at it.
template <class Look>
void Checker::addAll(qf::ustring const& file, Look const& look) {
    try {
        for (Finding const& finding : look())
            findings_.add(finding);
    } catch (std::exception const& error) {
        add(faultOfImport(file, error));
    }
}

}  // namespace qbsettings
