// Faults of settings files, told with their places.

#include <algorithm>
#include <iostream>

#include <boost/mpl/void.hpp>
#include <nlohmann/json.hpp>
#include <qbsettings/Commands.hpp>
#include <qbsettings/Failure.hpp>
#include <qbsettings/Faults.hpp>
#include <qbsettings/Json.hpp>
#include <qbsettings/Text.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/tree/ZSettings.hpp>

namespace qbsettings {

namespace fs = qf::filesystem;
using settings::core::BlessedZcrID;
using settings::core::Settings;
using settings::core::ZSettings;

namespace {

/// Takes what is found, and prints it line by line or gathers it for JSON.
class Findings {
public:
    explicit Findings(bool json) : json_(json) {}

    void addFault(Fault const& fault) {
        good_ = false;
        add("fault", fault);
    }
    /// Of what is no fault.
    void addNote(qf::ustring const& file, std::string const& text) { add("note", {file, text}); }
    int finish() const {
        if (json_) printJson(document_);
        return good_ ? done : refused;
    }

private:
    void add(std::string const& kind, Fault const& fault) {
        Fault::Parts const parts = fault.parts();
        if (json_) {
            document_.push_back({{"kind", kind},
                                 {"file", fault.file.empty() ? Json() : Json(pathText(fault.file))},
                                 {"line", numberOf(parts.line)},
                                 {"column", numberOf(parts.column)},
                                 {"message", parts.message}});
        } else {
            std::string const mark = kind == "note" ? "note: " : "";
            std::cout << asLine(Fault{fault.file, mark + fault.text}.toText()) << '\n';
        }
    }
    static Json numberOf(std::string const& digits) {
        return digits.empty() ? Json() : Json::parse(digits);
    }

    bool json_;
    bool good_ = true;
    Json document_ = Json::array();
};

/// Tells what is legal in a file and has no effect.
void findIdle(qf::ustring const& file, Settings const& top, Findings& findings) {
    if (top.isReadOnly()) {
        findings.addNote(file, "'readonly' on the product's own element has no effect");
    }
    if (top.getValidator().which() != 0) {
        findings.addNote(file, "'validationfunc' of the product's own element has no effect");
    }
}

/// Reads one file by itself.
void checkFile(qf::ustring const& file, Findings& findings) {
    try {
        findIdle(file, *Settings::importAsStandaloneObject(file), findings);
    } catch (std::exception const& error) {
        findings.addFault(faultOfImport(file, error));
    }
}

bool isFaulty(Context const& context, qf::ustring const& file) {
    auto const& faults = context.faults();
    return std::any_of(faults.begin(), faults.end(),
                       [&](Fault const& fault) { return fault.file == file; });
}

/// A folder that cannot be listed counts as empty in a load. False if it is there and cannot be.
bool checkFolder(qf::ustring const& folder, Findings& findings) {
    try {
        if (!folder.empty() && fs::exists(folder))
            fs::basic_directory_iterator const entries(folder);
        return true;
    } catch (fs::FsysExceptionBase const& error) {
        findings.addFault({folder, error.reason()});
        return false;
    }
}

/// Tells of the user files that saves kept aside.
void findKeptAside(qf::ustring const& folder, Findings& findings) {
    static qf::ustring const mark = u".settings.rejected";
    if (!fs::exists(folder)) return;
    for (fs::upath_directory_entry const& entry : fs::basic_directory_iterator(folder)) {
        qf::ustring const name = entry.filename();
        std::size_t const at = name.rfind(mark);
        if (at == qf::ustring::npos || at == 0) continue;
        if (name.find_first_not_of(u".0123456789", at + mark.size()) != qf::ustring::npos) continue;
        findings.addNote(entry.full_pathname().str(),
                         "kept aside, since it could not be read when its product was saved");
    }
}

void checkProduct(Context& context, SettingsPtr const& product, Findings& findings) {
    std::string const name = product->getName();
    std::size_t const before = context.faults().size();
    context.loading([&] { return product->getChildren(); });
    auto const& faults = context.faults();
    for (std::size_t i = before; i < faults.size(); ++i)
        findings.addFault(faults[i]);

    std::vector<qf::ustring> files = context.factoryFiles(name);
    files.push_back(context.userFile(name));
    for (qf::ustring const& file : files) {
        if (!isFaulty(context, file) && fs::exists(file)) checkFile(file, findings);
    }
}

void checkAll(Context& context, Findings& findings) {
    context.keepQuiet();
    SettingsPtr const root = context.root();
    checkFolder(ZSettings::getFactoryDir(BlessedZcrID), findings);
    if (checkFolder(context.userDirectory(), findings)) {
        findKeptAside(context.userDirectory(), findings);
    }
    for (SettingsPtr const& product : root->getChildren())
        checkProduct(context, product, findings);
}

}  // namespace

int checkCommand(Context& context, Arguments const& arguments) {
    Findings findings(arguments.json);
    if (arguments.files.empty()) checkAll(context, findings);
    for (std::string const& name : arguments.files)
        checkFile(fs::absolute(fs::from_native(name), fs::path()).str(), findings);
    return findings.finish();
}

}  // namespace qbsettings
