#include <qbsettings/store/SettingsFiles.hpp>

#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/output/OutputFile.hpp>
#include <qbsettings/store/FaultPlace.hpp>
#include <qbsettings/text/Failure.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace fs = qf::filesystem;
using settings::core::Settings;

SettingsPtr readSettingsFile(std::string const& file) {
    qf::ustring const path = fs::absolute(fs::from_native(file), fs::path()).str();
    try {
        return Settings::importAsStandaloneObject(path);
    } catch (std::exception const& error) {
        throw Failure(placedFault(faultOfImport(path, error)).toText());
    }
}

void commitReadable(OutputFile& file) {
    try {
        Settings::importAsStandaloneObject(file.path());
    } catch (std::exception const& error) {
        throw Failure("the file could not be written completely: " +
                      faultOfImport(qf::ustring(), error).toText());
    }
    file.commit();
}

}  // namespace qbsettings
