// Faults of settings files, told with their places, and what the files say in vain.

#include <algorithm>
#include <set>

#include <nlohmann/json.hpp>
#include <qbsettings/Commands.hpp>
#include <qbsettings/Failure.hpp>
#include <qbsettings/Json.hpp>
#include <qbsettings/Markup.hpp>
#include <qbsettings/Terminal.hpp>
#include <qbsettings/Text.hpp>
#include <qbsettings/Warnings.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/tree/ZSettings.hpp>

namespace qbsettings {

namespace {

namespace fs = qf::filesystem;
using settings::core::Settings;

/// Takes what is found, and prints it line by line or gathers it for JSON.
class Findings {
public:
    explicit Findings(bool json) : json_(json) {}

    void add(Fault const& fault) {
        good_ = false;
        tell(fault, "fault", Json());
    }
    void add(Warning const& warning) { tell(warning, "warning", warning.code); }
    int finish() const {
        if (json_) printJson(document_);
        return good_ ? done : refused;
    }

private:
    void tell(Fault fault, std::string const& kind, Json const& code) {
        if (json_) {
            document_.push_back({{"kind", kind},
                                 {"file", fault.file.empty() ? Json() : Json(pathText(fault.file))},
                                 {"line", fault.line == 0 ? Json() : Json(fault.line)},
                                 {"column", fault.line == 0 ? Json() : Json(fault.column)},
                                 {"message", fault.message},
                                 {"code", code}});
            return;
        }
        if (kind == "warning") fault.message = "warning: " + fault.message;
        printLine(asLine(fault.toText()));
    }

    bool json_;
    bool good_ = true;
    Json document_ = Json::array();
};

/// A folder that cannot be listed counts as empty in a load. False if it is there and cannot be.
bool checkFolder(qf::ustring const& folder, Findings& findings) {
    try {
        if (!folder.empty() && fs::exists(folder))
            fs::basic_directory_iterator const entries(folder);
        return true;
    } catch (fs::FsysExceptionBase const& error) {
        findings.add(Fault{folder, error.reason()});
        return false;
    }
}

/// Tells of the user files that saves kept aside.
void findKeptAside(qf::ustring const& folder, Findings& findings) {
    static qf::ustring const mark = u".settings.rejected";
    if (!fs::exists(folder)) return;
    for (auto const& entry : fs::basic_directory_iterator(folder)) {
        qf::ustring const name = entry.filename();
        std::size_t const at = name.rfind(mark);
        if (at == qf::ustring::npos || at == 0) continue;
        if (name.find_first_not_of(u".0123456789", at + mark.size()) != qf::ustring::npos) continue;
        findings.add(
            Warning{{entry.full_pathname().str(),
                     "kept aside, since it could not be read when its product was saved; mend it "
                     "and put it in the place of " +
                         pathText(name.substr(0, at)) + ".settings, or delete it"},
                    "kept-aside"});
    }
}

class Checker {
public:
    Checker(Context& context, Findings& findings) : context_(context), findings_(findings) {}

    void checkAll() {
        SettingsPtr const root = context_.root();
        using settings::core::ZSettings;
        checkFolder(ZSettings::getFactoryDir(settings::core::BlessedZcrID), findings_);
        if (checkFolder(context_.userDirectory(), findings_)) {
            findKeptAside(context_.userDirectory(), findings_);
        }
        auto const products = root->getChildren();
        Progress progress("checking product", products.size());
        for (SettingsPtr const& product : products) {
            progress.step();
            checkProduct(product);
        }
    }

    /// A file that was named. That of a user is looked at beside its product.
    void checkNamed(qf::ustring const& file) {
        std::string const name = context_.productOfUserFile(file);
        SettingsPtr const product = name.empty() ? SettingsPtr() : context_.root()->getChild(name);
        if (!product) {
            checkFile(file, !name.empty());
            return;
        }
        context_.loading([&] { return product->getChildren(); });
        for (Fault const& fault : context_.faults()) {
            if (fault.file == context_.userFile(name)) findings_.add(fault);
        }
        std::vector<SettingsPtr> factoryFiles;
        for (qf::ustring const& factoryFile : context_.factoryFiles(name)) {
            try {
                factoryFiles.push_back(Settings::importAsStandaloneObject(factoryFile));
            } catch (std::exception const&) {
                // Its faults are not asked for.
            }
        }
        checkUserFile(product, factoryFiles);
    }

private:
    void checkProduct(SettingsPtr const& product) {
        std::string const name = product->getName();
        std::size_t const before = context_.faults().size();
        context_.loading([&] { return product->getChildren(); });
        auto const& faults = context_.faults();
        for (std::size_t i = before; i < faults.size(); ++i)
            findings_.add(faults[i]);

        std::vector<SettingsPtr> factoryFiles;
        for (qf::ustring const& file : context_.factoryFiles(name)) {
            if (SettingsPtr const content = checkFile(file, false)) factoryFiles.push_back(content);
        }
        if (fs::exists(context_.userFile(name))) checkUserFile(product, factoryFiles);
    }

    void checkUserFile(SettingsPtr const& product, std::vector<SettingsPtr> const& factoryFiles) {
        qf::ustring const file = context_.userFile(product->getName());
        SettingsPtr const content = checkFile(file, true);
        if (!content) return;
        tellAll(file, [&] {
            return warningsOfValues(context_,
                                    {file, content, product, factoryFiles, isFaulty(file)});
        });
    }

    /// Reads one file by itself; empty if it has faults, which are told unless its load told them.
    SettingsPtr checkFile(qf::ustring const& file, bool ofUser) {
        SettingsPtr content;
        try {
            content = Settings::importAsStandaloneObject(file);
        } catch (std::exception const& error) {
            if (!isFaulty(file)) findings_.add(faultOfImport(file, error));
            return {};
        }
        checkMarkup(file, ofUser);
        return content;
    }

    /// The words of a file and of those that it names.
    void checkMarkup(qf::ustring const& first, bool ofUser) {
        fs::path const folder = fs::path(first).parent_path();
        std::vector<qf::ustring> files = {first};
        for (std::size_t i = 0; i < files.size(); ++i) {
            qf::ustring const file = files[i];
            if (!reviewed_.insert(file).second) continue;
            tellAll(file, [&] {
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
    void tellAll(qf::ustring const& file, Look const& look) {
        try {
            for (Warning const& warning : look())
                findings_.add(warning);
        } catch (std::exception const& error) {
            findings_.add(faultOfImport(file, error));
        }
    }

    bool isFaulty(qf::ustring const& file) const {
        auto const& faults = context_.faults();
        return std::any_of(faults.begin(), faults.end(),
                           [&](Fault const& fault) { return fault.file == file; });
    }

    Context& context_;
    Findings& findings_;
    std::set<qf::ustring> reviewed_;
};

}  // namespace

int checkCommand(Context& context, Arguments const& arguments) {
    Findings findings(arguments.json);
    Checker checker(context, findings);
    context.keepQuiet();
    if (arguments.files.empty()) checker.checkAll();
    for (std::string const& name : arguments.files) {
        checker.checkNamed(fs::absolute(fs::from_native(name), fs::path()).str());
    }
    return findings.finish();
}

}  // namespace qbsettings
