#include <qbsettings/errors/Errors.hpp>

#include <new>

#include <qbsettings/errors/Teller.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

using namespace settings::core::exception;
using qf::i18n::to_string;

void tellFiles(Teller& teller) {
    teller
        .when<ErrorReadingSettingsData>([](auto const& e) {
            std::vector<std::string> texts;
            for (Fault const& fault : faultsOfLoad(e.getDetailErrorMsg())) {
                texts.push_back(fault.toText());
            }
            return join(texts, "; ");
        })
        .when<ErrorExportOrImportSettingsUsingRelativePath>([](auto const& e) {
            return "the path " + to_string(e.getRelativePath()) + " is not absolute";
        })
        .when<ErrorSaveSettingsDueToFileIOError>([](auto const& e) {
            return to_string(e.getFileName()) + " cannot be opened for writing";
        })
        .when<NoFileWritePermission>([](auto const& e) {
            return to_string(e.getCausingFilePath()) + " cannot be written for the level " +
                   inQuotes(e.getLevelName()) + ": " + to_string(e.getReasonStr());
        })
        .when<ErrorWriteToTempSettingsFile>([](auto const& e) {
            return to_string(e.getCausingFilePath()) +
                   " cannot be written: " + to_string(e.getReasonStr());
        })
        .when<RelativePreferencePathNotSupported>([](auto const& e) {
            return "the preference directory " + inQuotes(e.getPrefdirLocation()) +
                   " is not absolute";
        })
        .when<ErrorMigratePrefsBetweenReleases>([](auto const& e) {
            return "the preferences of release " + e.getPrevFullRelTag() +
                   " could not be migrated to release " + e.getCurrFullRelTag();
        })
        .when<ErrorMigrateSettingsBetweenReleases>([](auto const& e) {
            return "the settings of release " + to_string(e.getSrcRelease()) +
                   " could not be migrated to release " + to_string(e.getDestRelease());
        });
}

std::string nameOf(boost::shared_ptr<settings::core::Settings const> const& node) {
    if (!node) return {};
    return node->isRoot() ? "the root" : node->getFullName();
}

std::string reasonOf(std::exception const& error, std::vector<std::string> const& given) {
    Teller teller(error);
    tellValues(teller, given);
    tellTrees(teller);
    tellFiles(teller);
    // The catalogue's texts are made for users.
    teller.when<qf::except::IMsgIDException>(
        [](auto const& e) { return to_string(e.GetUnicodeMessageTxt()); });
    teller.when<std::bad_alloc>([](auto const&) { return "there is not enough memory"; });
    return teller.found() ? teller.result() : error.what();
}

std::string messageOf(std::exception const& error) {
    if (dynamic_cast<Failure const*>(&error)) return error.what();
    std::string name;
    if (auto const* refusal = dynamic_cast<ExceptionFromValidationFunction const*>(&error)) {
        name = nameOf(refusal->getCausingObject());
        name += (name.empty() ? "" : ".") + refusal->getKeyName();
    } else if (auto const* e = dynamic_cast<ValidationException const*>(&error)) {
        name = nameOf(e->getCausingObject());
    } else if (auto const* with = dynamic_cast<detail::WithObjectInvolved const*>(&error)) {
        name = nameOf(with->getObjectInvovled());
    } else if (auto const* of = dynamic_cast<detail::WithCausingObject const*>(&error)) {
        name = nameOf(of->getCausingObject());
    }
    return (name.empty() ? "" : name + ": ") + reasonOf(error);
}

Fault faultOfImport(qf::ustring const& file, std::exception const& error) {
    if (auto const* reading = dynamic_cast<ErrorReadingSettingsData const*>(&error)) {
        return faultOfText(file, reading->getDetailErrorMsg());
    }
    return {file, reasonOf(error)};
}

}  // namespace qbsettings
