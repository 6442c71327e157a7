#include <cstddef>
#include <string>
#include <string_view>

#include <settingscore/host/I18n.hpp>
#include <settingscore/host/MsgID.hpp>

namespace qf::i18n {
namespace {

struct Entry {
    std::string_view key;
    std::string_view text;  ///< "{0}" to "{9}" stand for the arguments.
};

constexpr std::string_view catalogDomain = "ZENBAR:settings:core";

constexpr Entry catalog[] = {
    {"CFunctionNotFound", "The function '{0}' was not found in the library '{1}'."},
    {"CanNotCreateTempDirectory",
     "No temporary folder for saving settings could be made in '{0}'."},
    {"DataTypeNotMatch",
     "The value has the wrong type: the setting holds {0}, the value given is {1}."},
    {"ErrorCopyFileInPrefDir", "The file '{0}' could not be copied to '{1}': {2}\n"},
    {"ErrorCreatePreferenceDirectoryTimeStamp",
     "The time stamp file '{0}' of the preference directory could not be written: {1}"},
    {"ErrorMigratePrefsBetweenReleases",
     "The preferences of release '{0}' could not be taken over by release '{1}'."},
    {"ErrorOverwriteFileInPrefDir",
     "The file '{0}' could not be written, or is there already; it was not overwritten.\n"},
    {"ExecEngineNotReadyForProcessingZFunction",
     "ZENBAR functions cannot be called yet: the execution engine is not ready."},
    {"JVMNotReadyForProcessingJavaFunction",
     "Java methods cannot be called: the Java virtual machine is not ready."},
    {"NoWritePermissionOnDirectory", "The folder '{0}' cannot be written to: {1}"},
    {"PreferenceDirectoryNotExist", "The preference directory '{0}' does not exist: {1}"},
    {"SettingsLibraryNotInitialized",
     "The Java side of the settings library could not be started: {0}"},
    {"SettingsUserDirectoryNotExist", "There is no directory for the user's settings."},
    {"TypeNotSpecifiedForNoneAnyType",
     "The key '{0}' states no type, and is not declared to take any type."},
    {"XMLMetaDataParserError",
     "The range of '{0}' is empty: its minimum {1} is greater than its maximum {2}."},
    {"XMLParseErrorWrongValueForGivenType",
     "In a value of type {0}, the text '{1}' is not a legal {2}."},
    {"XMLParserErrorIllegalTagName",
     "In '{0}', the element '{1}' is not allowed inside the element '{2}'."},
    {"XMLParserErrorNumOfValueNotInRange",
     "In '{0}', the element '{1}' has {2} value(s); allowed are at least {3} and at most {4}."},
    {"XMLParserErrorUnexpectedTextContent", "In '{0}', the element '{1}' may not contain text."},
    {"ZENBARFuncMustBeInvokedByExecEngine",
     "ZENBAR functions can be called on the thread of the execution engine only."},
};

struct ArgumentText : boost::static_visitor<std::string> {
    std::string operator()(std::string const& text) const { return text; }
    std::string operator()(ustring const& text) const { return to_string(text); }
};

std::string fill(std::string_view text, rescat::BaseMsgID const& id) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        bool const placeholder = text[i] == '{' && i + 2 < text.size() && text[i + 2] == '}' &&
                                 text[i + 1] >= '0' && text[i + 1] <= '9';
        if (!placeholder) {
            result += text[i];
            continue;
        }
        auto const index = static_cast<std::size_t>(text[i + 1] - '0');
        if (index < id.arguments().size())
            result += boost::apply_visitor(ArgumentText(), id.arguments()[index]);
        i += 2;
    }
    return result;
}

std::string describe(rescat::BaseMsgID const& id) {
    std::string result = id.domain() + ":" + id.key();
    char const* separator = ": ";
    for (rescat::BaseMsgID::Argument const& argument : id.arguments()) {
        result += separator + boost::apply_visitor(ArgumentText(), argument);
        separator = ", ";
    }
    return result;
}

}  // namespace

ustring MessageCatalog::get_message(rescat::BaseMsgID const& id, qbLocale const&) {
    if (id.domain() == catalogDomain) {
        for (Entry const& entry : catalog) {
            if (entry.key == id.key()) return to_ustring(fill(entry.text, id));
        }
    }
    return to_ustring(describe(id));
}

}  // namespace qf::i18n
