// Faults of settings files, told with their places.

#include <algorithm>
#include <iostream>

#include <boost/mpl/void.hpp>
#include <qbsettings/Commands.hpp>
#include <qbsettings/Failure.hpp>
#include <qbsettings/Faults.hpp>
#include <qbsettings/Text.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/tree/ZSettings.hpp>

namespace qbsettings {

namespace fs = qf::filesystem;
using settings::core::BlessedZcrID;
using settings::core::Settings;
using settings::core::ZSettings;

namespace {

void print(Fault const& fault) { std::cout << asLine(fault.toText()) << '\n'; }

/// Tells what is legal in a file and has no effect.
void printNotes(qf::ustring const& file, Settings const& top) {
    if (top.isReadOnly()) {
        print({file, "note: 'readonly' on the product's own element has no effect"});
    }
    if (top.getValidator().which() != 0) {
        print({file, "note: 'validationfunc' of the product's own element has no effect"});
    }
}

/// Reads one file by itself. False if it has a fault.
bool checkFile(qf::ustring const& file) {
    try {
        printNotes(file, *Settings::importAsStandaloneObject(file));
        return true;
    } catch (std::exception const& error) {
        print(faultOfImport(file, error));
        return false;
    }
}

bool isFaulty(Context const& context, qf::ustring const& file) {
    auto const& faults = context.faults();
    return std::any_of(faults.begin(), faults.end(),
                       [&](Fault const& fault) { return fault.file == file; });
}

/// A folder that cannot be listed counts as empty in a load. False if it is there and cannot be.
bool checkFolder(qf::ustring const& folder) {
    try {
        if (!folder.empty() && fs::exists(folder))
            fs::basic_directory_iterator const entries(folder);
        return true;
    } catch (fs::FsysExceptionBase const& error) {
        print({folder, error.reason()});
        return false;
    }
}

/// Tells of the user files that saves kept aside.
void printKeptAside(qf::ustring const& folder) {
    static qf::ustring const mark = u".settings.rejected";
    if (!fs::exists(folder)) return;
    for (fs::upath_directory_entry const& entry : fs::basic_directory_iterator(folder)) {
        qf::ustring const name = entry.filename();
        std::size_t const at = name.rfind(mark);
        if (at == qf::ustring::npos || at == 0) continue;
        if (name.find_first_not_of(u".0123456789", at + mark.size()) != qf::ustring::npos) continue;
        print({entry.full_pathname().str(),
               "note: kept aside, since it could not be read when its product was saved"});
    }
}

bool checkProduct(Context& context, SettingsPtr const& product) {
    std::string const name = product->getName();
    std::size_t const before = context.faults().size();
    context.loading([&] { return product->getChildren(); });
    auto const& faults = context.faults();
    bool good = faults.size() == before;
    for (std::size_t i = before; i < faults.size(); ++i)
        print(faults[i]);

    std::vector<qf::ustring> files = context.factoryFiles(name);
    files.push_back(context.userFile(name));
    for (qf::ustring const& file : files) {
        if (!isFaulty(context, file) && fs::exists(file)) good = checkFile(file) && good;
    }
    return good;
}

bool checkAll(Context& context) {
    context.keepQuiet();
    SettingsPtr const root = context.root();
    bool good = checkFolder(ZSettings::getFactoryDir(BlessedZcrID));
    bool const userFolder = checkFolder(context.userDirectory());
    if (userFolder) printKeptAside(context.userDirectory());
    good = userFolder && good;
    for (SettingsPtr const& product : root->getChildren()) {
        good = checkProduct(context, product) && good;
    }
    return good;
}

}  // namespace

int checkCommand(Context& context, Arguments const& arguments) {
    if (arguments.files.empty()) return checkAll(context) ? done : refused;
    bool good = true;
    for (std::string const& name : arguments.files) {
        good = checkFile(fs::absolute(fs::from_native(name), fs::path()).str()) && good;
    }
    return good ? done : refused;
}

}  // namespace qbsettings
