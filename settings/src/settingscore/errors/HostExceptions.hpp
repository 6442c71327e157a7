#pragma once

#include <string>
#include <typeinfo>
#include <utility>

#include <settingscore/errors/ValidationException.hpp>

namespace settings::core {
class SettingsLevel;
}

/// Errors that the library itself never throws, except for `NoFileWritePermission` and
/// `ErrorWriteToTempSettingsFile` in durable saves. They are there for the host and its plug-ins,
/// to report failures of their own that have to do with settings.
namespace settings::core::exception {

/// A key was to stand directly under the root.
class SETTINGSCORE_API CannotAddKeyToRoot : public InternalError, public detail::WithInputName {
public:
    explicit CannotAddKeyToRoot(std::string name) : WithInputName(std::move(name)) {}
    char const* what() const noexcept override {
        return "Settings root cannot contain any setting";
    }
};

/// There is a product of that name already, perhaps in another case.
class SETTINGSCORE_API ProductNodeAlreadyExisted : public InternalError,
                                                   public detail::WithInputName {
public:
    ProductNodeAlreadyExisted(std::string existingName, std::string inputName)
        : WithInputName(std::move(inputName)), existingName_(std::move(existingName)) {}
    char const* what() const noexcept override {
        return "Product node already existed. The product node name cannot only be different by "
               "case.";
    }
    /// The name of the one that is there.
    std::string const& getExistingName() const { return existingName_; }

private:
    std::string existingName_;
};

/// The group has a child of that name already.
class SETTINGSCORE_API SameNameChildAlreadyExisted : public InternalError,
                                                     public detail::WithObjectInvolved,
                                                     public detail::WithInputName {
public:
    SameNameChildAlreadyExisted(NodePtr node, std::string name)
        : WithObjectInvolved(std::move(node)), WithInputName(std::move(name)) {}
    char const* what() const noexcept override {
        return "Error add node, same name child has already existed.";
    }
};

/// A settings file cannot be written, for want of permission.
class SETTINGSCORE_API NoFileWritePermission : public InternalError {
public:
    NoFileWritePermission(boost::shared_ptr<Settings> causingObject, SettingsLevel const&,
                          ustring filePath, ustring reason, ustring additionalInfo,
                          std::string levelName)
        : causingObject_(std::move(causingObject)),
          filePath_(std::move(filePath)),
          reason_(std::move(reason)),
          additionalInfo_(std::move(additionalInfo)),
          levelName_(std::move(levelName)) {}
    char const* what() const noexcept override {
        return "Cannot write to the level specified. You may not have write permission on that "
               "level.";
    }
    /// The product whose file it is.
    boost::shared_ptr<Settings> const& getCausingObject() const { return causingObject_; }
    /// The level of the file.
    std::string const& getLevelName() const { return levelName_; }
    /// The file.
    ustring const& getCausingFilePath() const { return filePath_; }
    /// The reason, as the system gives it.
    ustring const& getReasonStr() const { return reason_; }
    /// More for people; may be empty.
    ustring const& getAdditionalInfo() const { return additionalInfo_; }

private:
    boost::shared_ptr<Settings> causingObject_;
    ustring filePath_;
    ustring reason_;
    ustring additionalInfo_;
    std::string levelName_;
};

/// A settings file could not be written whole.
class SETTINGSCORE_API ErrorWriteToTempSettingsFile : public InternalError,
                                                      public detail::WithCausingObject {
public:
    ErrorWriteToTempSettingsFile(NodePtr node, ustring filePath, int errorNumber, ustring reason)
        : WithCausingObject(std::move(node)),
          filePath_(std::move(filePath)),
          errorNumber_(errorNumber),
          reason_(std::move(reason)) {}
    char const* what() const noexcept override {
        return "Cannot open a temp file to save the Settings object. It could be due to out of "
               "file handle or other reasons.";
    }
    /// The file that was to be replaced.
    ustring const& getCausingFilePath() const { return filePath_; }
    /// The system's number of the error; 0 if it is none of the system's.
    int getErrorNum() const { return errorNumber_; }
    /// The reason, for people.
    ustring const& getReasonStr() const { return reason_; }

private:
    ustring filePath_;
    int errorNumber_;
    ustring reason_;
};

/// Unrelated to the message id of the same name, which is the one that the library throws.
class SETTINGSCORE_API ErrorMigratePrefsBetweenReleases : public InternalError {
public:
    ErrorMigratePrefsBetweenReleases(std::string previousTag, std::string currentTag)
        : previousTag_(std::move(previousTag)), currentTag_(std::move(currentTag)) {}
    char const* what() const noexcept override {
        return "Error copying the files from the previous release prefdir to the current release "
               "prefdir.";
    }
    /// @{
    /// The labels of the two releases.
    std::string const& getPrevFullRelTag() const { return previousTag_; }
    std::string const& getCurrFullRelTag() const { return currentTag_; }
    /// @}

private:
    std::string previousTag_;
    std::string currentTag_;
};

/// The settings of an older release could not be taken over.
class SETTINGSCORE_API ErrorMigrateSettingsBetweenReleases : public InternalError {
public:
    ErrorMigrateSettingsBetweenReleases(ustring source, ustring destination)
        : source_(std::move(source)), destination_(std::move(destination)) {}
    char const* what() const noexcept override {
        return "Error migrating settings from previous release to the current release.";
    }
    /// @{
    /// The labels of the two releases.
    ustring const& getSrcRelease() const { return source_; }
    ustring const& getDestRelease() const { return destination_; }
    /// @}

private:
    ustring source_;
    ustring destination_;
};

/// A runtime default gave a value of a type that no setting can have.
class SETTINGSCORE_API RuntimeFuncErrorConvertingZxArrayToAny : public InternalError,
                                                                public detail::WithFunction {
public:
    RuntimeFuncErrorConvertingZxArrayToAny(std::string packageName, std::string functionName,
                                           std::type_info const& type)
        : WithFunction(std::move(functionName), std::move(packageName)), type_(&type) {}
    char const* what() const noexcept override {
        return "The runtime function returns an zxArray that is not convertible to a supported "
               "type.";
    }
    /// The type.
    std::type_info const& getTypeInfo() const { return *type_; }

private:
    std::type_info const* type_;
};

/// A value was requested from an empty `boost::any`.
class SETTINGSCORE_API AttemptToGetValueFromVoid : public InternalError {
public:
    char const* what() const noexcept override {
        return "Attempt to retrieve value from a void boost::any variable.";
    }
};

/// Unrelated to the message id of the same name, which is the one that the library throws.
class SETTINGSCORE_API DataTypeNotMatch : public ValidationException {
public:
    DataTypeNotMatch(NodePtr node, std::string expected, std::string actual)
        : ValidationException(std::move(node), DataTypeNotMatchCode, text),
          expected_(std::move(expected)),
          actual_(std::move(actual)) {}
    char const* what() const noexcept override { return text; }
    /// @{
    /// The types of the key and of the value.
    std::string const& getExpectedTypeName() const { return expected_; }
    std::string const& getActualTypeName() const { return actual_; }
    /// @}

private:
    static constexpr char const* text =
        "The type of the value passed in does not match the type in the setting definition.";
    std::string expected_;
    std::string actual_;
};

}  // namespace settings::core::exception
