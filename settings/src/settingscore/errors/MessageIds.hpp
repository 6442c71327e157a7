#pragma once

#include <cstddef>
#include <exception>
#include <string>
#include <utility>

#include <settingscore/Export.hpp>
#include <settingscore/host/Except.hpp>
#include <settingscore/host/MsgID.hpp>
#include <settingscore/host/UString.hpp>

/// The errors whose text is meant for the user. Each class is an identifier "ZENBAR:settings:core:"
/// followed by the class's name, with arguments; the text is in the host's message catalogue.
/// They are thrown as `qf::except::Exception<Class, std::exception, void>`, see `throwMessage`, and
/// caught as that or as `qf::except::IMsgIDException`.
namespace ZENBAR::settings::core {

using qf::ustring;

/// Fills the argument slots in the order of the arguments.
class SETTINGSCORE_API CoreMsgID : public rescat::BaseMsgID {
protected:
    template <class... Arguments>
    explicit CoreMsgID(char const* key, Arguments&&... arguments)
        : BaseMsgID(sizeof...(arguments), "ZENBAR:settings:core", key) {
        [[maybe_unused]] std::size_t slot = 0;
        (setArgument(slot++, Argument(std::forward<Arguments>(arguments))), ...);
    }
};

/// What is thrown for a message id of type Class. Each class has a name for it: its own with
/// "Exception" behind it.
template <class Class>
using MessageException = qf::except::Exception<Class, std::exception, void>;

/// Throws a message id of type Class made from the arguments.
template <class Class, class... Arguments>
[[noreturn]] void throwMessage(Arguments&&... arguments) {
    throw MessageException<Class>(Class(std::forward<Arguments>(arguments)...));
}

// --- Functions ------------------------------------------------------------------------------

/// A library has no function of that name.
class SETTINGSCORE_API CFunctionNotFound : public CoreMsgID {
public:
    CFunctionNotFound(std::string const& functionName, std::string const& libraryName)
        : CoreMsgID("CFunctionNotFound", functionName, libraryName) {}
};
using CFunctionNotFoundException = MessageException<CFunctionNotFound>;

/// The Java side of the host could not be started.
class SETTINGSCORE_API SettingsLibraryNotInitialized : public CoreMsgID {
public:
    explicit SettingsLibraryNotInitialized(ustring const& reason)
        : CoreMsgID("SettingsLibraryNotInitialized", reason) {}
};
using SettingsLibraryNotInitializedException = MessageException<SettingsLibraryNotInitialized>;

/// A Java method was needed, and the host has no Java proxy installed.
class SETTINGSCORE_API JVMNotReadyForProcessingJavaFunction : public CoreMsgID {
public:
    JVMNotReadyForProcessingJavaFunction() : CoreMsgID("JVMNotReadyForProcessingJavaFunction") {}
};
using JVMNotReadyForProcessingJavaFunctionException =
    MessageException<JVMNotReadyForProcessingJavaFunction>;

/// A function of the scripting language was needed on another thread than the signal thread.
class SETTINGSCORE_API ZENBARFuncMustBeInvokedByExecEngine : public CoreMsgID {
public:
    ZENBARFuncMustBeInvokedByExecEngine() : CoreMsgID("ZENBARFuncMustBeInvokedByExecEngine") {}
};
using ZENBARFuncMustBeInvokedByExecEngineException =
    MessageException<ZENBARFuncMustBeInvokedByExecEngine>;

/// A function of the scripting language was needed, and the host has no proxy for it installed.
class SETTINGSCORE_API ExecEngineNotReadyForProcessingZFunction : public CoreMsgID {
public:
    ExecEngineNotReadyForProcessingZFunction()
        : CoreMsgID("ExecEngineNotReadyForProcessingZFunction") {}
};
using ExecEngineNotReadyForProcessingZFunctionException =
    MessageException<ExecEngineNotReadyForProcessingZFunction>;

// --- Values ---------------------------------------------------------------------------------

/// A value is not of the key's type.
class SETTINGSCORE_API DataTypeNotMatch : public CoreMsgID {
public:
    DataTypeNotMatch(std::string const& expectedType, std::string const& actualType)
        : CoreMsgID("DataTypeNotMatch", expectedType, actualType) {}
};
using DataTypeNotMatchException = MessageException<DataTypeNotMatch>;

// --- Settings files and folders ---------------------------------------------------------------

/// The folder in which a save writes the new file cannot be made.
class SETTINGSCORE_API CanNotCreateTempDirectory : public CoreMsgID {
public:
    explicit CanNotCreateTempDirectory(ustring const& folder)
        : CoreMsgID("CanNotCreateTempDirectory", folder) {}
};
using CanNotCreateTempDirectoryException = MessageException<CanNotCreateTempDirectory>;

/// The folder of a settings file cannot be written to.
class SETTINGSCORE_API NoWritePermissionOnDirectory : public CoreMsgID {
public:
    NoWritePermissionOnDirectory(ustring const& folder, char const* reason)
        : CoreMsgID("NoWritePermissionOnDirectory", folder, reason) {}
};
using NoWritePermissionOnDirectoryException = MessageException<NoWritePermissionOnDirectory>;

/// There is no user directory.
class SETTINGSCORE_API SettingsUserDirectoryNotExist : public CoreMsgID {
public:
    SettingsUserDirectoryNotExist() : CoreMsgID("SettingsUserDirectoryNotExist") {}
};
using SettingsUserDirectoryNotExistException = MessageException<SettingsUserDirectoryNotExist>;

// --- Preference directory -------------------------------------------------------------------

/// A file of an older release could not be copied.
class SETTINGSCORE_API ErrorCopyFileInPrefDir : public CoreMsgID {
public:
    ErrorCopyFileInPrefDir(ustring const& source, ustring const& destination, ustring const& reason)
        : CoreMsgID("ErrorCopyFileInPrefDir", source, destination, reason) {}
};
using ErrorCopyFileInPrefDirException = MessageException<ErrorCopyFileInPrefDir>;

/// A file of the preference directory was there already, or could not be written.
class SETTINGSCORE_API ErrorOverwriteFileInPrefDir : public CoreMsgID {
public:
    explicit ErrorOverwriteFileInPrefDir(ustring const& destination)
        : CoreMsgID("ErrorOverwriteFileInPrefDir", destination) {}
};
using ErrorOverwriteFileInPrefDirException = MessageException<ErrorOverwriteFileInPrefDir>;

/// The preference directory is not there.
class SETTINGSCORE_API PreferenceDirectoryNotExist : public CoreMsgID {
public:
    PreferenceDirectoryNotExist(ustring const& folder, char const* reason)
        : CoreMsgID("PreferenceDirectoryNotExist", folder, reason) {}
};
using PreferenceDirectoryNotExistException = MessageException<PreferenceDirectoryNotExist>;

/// The preferences of an older release could not be taken over.
class SETTINGSCORE_API ErrorMigratePrefsBetweenReleases : public CoreMsgID {
public:
    ErrorMigratePrefsBetweenReleases(ustring const& previousRelease, ustring const& currentRelease)
        : CoreMsgID("ErrorMigratePrefsBetweenReleases", previousRelease, currentRelease) {}
};
using ErrorMigratePrefsBetweenReleasesException =
    MessageException<ErrorMigratePrefsBetweenReleases>;

/// The file that marks a filled preference directory could not be made.
class SETTINGSCORE_API ErrorCreatePreferenceDirectoryTimeStamp : public CoreMsgID {
public:
    ErrorCreatePreferenceDirectoryTimeStamp(ustring const& file, char const* reason)
        : CoreMsgID("ErrorCreatePreferenceDirectoryTimeStamp", file, reason) {}
};
using ErrorCreatePreferenceDirectoryTimeStampException =
    MessageException<ErrorCreatePreferenceDirectoryTimeStamp>;

// --- Content of settings files ----------------------------------------------------------------

/// A key in a file has neither a type element nor `anytype="true"`.
class SETTINGSCORE_API TypeNotSpecifiedForNoneAnyType : public CoreMsgID {
public:
    explicit TypeNotSpecifiedForNoneAnyType(std::string const& keyName)
        : CoreMsgID("TypeNotSpecifiedForNoneAnyType", keyName) {}
};
using TypeNotSpecifiedForNoneAnyTypeException = MessageException<TypeNotSpecifiedForNoneAnyType>;

/// The minimum of a range in a file is greater than its maximum.
class SETTINGSCORE_API XMLMetaDataParserError : public CoreMsgID {
public:
    XMLMetaDataParserError(std::string const& fullName, std::string const& minimum,
                           std::string const& maximum)
        : CoreMsgID("XMLMetaDataParserError", fullName, minimum, maximum) {}
};
using XMLMetaDataParserErrorException = MessageException<XMLMetaDataParserError>;

/// A text in a file is no value of its type.
class SETTINGSCORE_API XMLParseErrorWrongValueForGivenType : public CoreMsgID {
public:
    XMLParseErrorWrongValueForGivenType(ustring const& type, ustring const& text,
                                        ustring const& typeAgain)
        : CoreMsgID("XMLParseErrorWrongValueForGivenType", type, text, typeAgain) {}
};
using XMLParseErrorWrongValueForGivenTypeException =
    MessageException<XMLParseErrorWrongValueForGivenType>;

/// An element of a file holds a text, and may not.
class SETTINGSCORE_API XMLParserErrorUnexpectedTextContent : public CoreMsgID {
public:
    XMLParserErrorUnexpectedTextContent(std::string const& fullName, std::string const& tag)
        : CoreMsgID("XMLParserErrorUnexpectedTextContent", fullName, tag) {}
};
using XMLParserErrorUnexpectedTextContentException =
    MessageException<XMLParserErrorUnexpectedTextContent>;

/// An element of a file stands in the wrong place.
class SETTINGSCORE_API XMLParserErrorIllegalTagName : public CoreMsgID {
public:
    XMLParserErrorIllegalTagName(std::string const& fullName, std::string const& tag,
                                 std::string const& enclosingTag)
        : CoreMsgID("XMLParserErrorIllegalTagName", fullName, tag, enclosingTag) {}
};
using XMLParserErrorIllegalTagNameException = MessageException<XMLParserErrorIllegalTagName>;

/// A key in a file has too few values or too many.
class SETTINGSCORE_API XMLParserErrorNumOfValueNotInRange : public CoreMsgID {
public:
    XMLParserErrorNumOfValueNotInRange(std::string const& fullName, std::string const& tag,
                                       std::string const& count, std::string const& minimum,
                                       std::string const& maximum)
        : CoreMsgID("XMLParserErrorNumOfValueNotInRange", fullName, tag, count, minimum, maximum) {}
};
using XMLParserErrorNumOfValueNotInRangeException =
    MessageException<XMLParserErrorNumOfValueNotInRange>;

}  // namespace ZENBAR::settings::core
