#pragma once

#include <string>
#include <utility>

#include <settingscore/errors/InternalError.hpp>

/// Errors of files and folders.
namespace settings::core::exception {

/// The path of an import or export is not absolute.
class SETTINGSCORE_API ErrorExportOrImportSettingsUsingRelativePath
    : public InternalError,
      public detail::WithObjectInvolved {
public:
    explicit ErrorExportOrImportSettingsUsingRelativePath(ustring relativePath)
        : ErrorExportOrImportSettingsUsingRelativePath(NodePtr(), std::move(relativePath)) {}
    ErrorExportOrImportSettingsUsingRelativePath(NodePtr node, ustring relativePath)
        : WithObjectInvolved(std::move(node)), relativePath_(std::move(relativePath)) {}
    char const* what() const noexcept override {
        return "The Settings import or export function can only take full path";
    }
    /// The path as the caller gave it.
    ustring const& getRelativePath() const { return relativePath_; }

private:
    ustring relativePath_;
};

/// The file of an export cannot be opened.
class SETTINGSCORE_API ErrorSaveSettingsDueToFileIOError : public InternalError,
                                                           public detail::WithCausingObject {
public:
    ErrorSaveSettingsDueToFileIOError(NodePtr node, ustring fileName)
        : WithCausingObject(std::move(node)), fileName_(std::move(fileName)) {}
    char const* what() const noexcept override { return "Error open a file stream for write."; }
    /// The file.
    ustring const& getFileName() const { return fileName_; }

private:
    ustring fileName_;
};

/// Why settings could not be read. The numbers are part of the interface.
enum ErrorCode {
    ReaderNotCreated = 0,      ///< The XML reader cannot be created.
    SaxPlugInNotFound = 1,     ///< The SAX service has no plug-in.
    FeatureNotRecognized = 2,  ///< The reader does not know a feature that is needed.
    FeatureNotSupported = 3,   ///< The reader cannot switch a feature that is needed.
    ParseFailed = 4,           ///< Not well-formed or not valid; position in the detail.
    ContentRefused = 5,        ///< Any other failure during the parse.
    MergeFailed = 6,           ///< The parsed files do not fit together.
    LazyLoadFailed = 7         ///< Faults while a product was loaded; the detail lists them.
};

/// A settings file, or a product's files together, could not be read. Only the detail says why.
class SETTINGSCORE_API ErrorReadingSettingsData : public InternalError {
public:
    ErrorReadingSettingsData(ErrorCode code, ustring detail)
        : detail_(std::move(detail)), code_(code) {}
    char const* what() const noexcept override {
        return "Error reading setting's value for various reasons, please refer to detailedInfo "
               "for more information.";
    }
    /// What kind of failure it was.
    ErrorCode getErrorCode() const { return code_; }
    /// The reason, for people. That of `ParseFailed` begins with the place, "LineNum=3  ColNum=10
    /// "; that of `LazyLoadFailed` has a line for each fault, the file in front of a tab. It says
    /// that a product's files may have been deleted since the start only if none was found.
    ustring const& getDetailErrorMsg() const { return detail_; }

private:
    ustring detail_;
    ErrorCode code_;
};

/// The preference directory is not absolute.
class SETTINGSCORE_API RelativePreferencePathNotSupported : public InternalError {
public:
    explicit RelativePreferencePathNotSupported(std::string folder) : folder_(std::move(folder)) {}
    char const* what() const noexcept override {
        return "Unable to start ZENBAR. The preference folder path must be an absolute path.";
    }
    /// The directory.
    std::string const& getPrefdirLocation() const { return folder_; }
    /// The reason, with the directory, for people.
    std::string getErrorMessage() const {
        return "Unable to start ZENBAR. Relative path for preferences directory ('" + folder_ +
               "') is not supported";
    }

private:
    std::string folder_;
};

}  // namespace settings::core::exception
