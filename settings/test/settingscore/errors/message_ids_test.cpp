#include <settingscore/errors/MessageIds.hpp>

#include <exception>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <boost/variant/get.hpp>
#include <settingscore/errors/ReservedExceptions.hpp>
#include <settingscore/host/I18n.hpp>

namespace ZENBAR::settings::core {
namespace {

/// An argument as the host sees it: "8:" before an 8-bit string, "16:" before a wide one.
std::string shown(rescat::BaseMsgID::Argument const& argument) {
    if (std::string const* narrow = boost::get<std::string>(&argument)) return "8:" + *narrow;
    return "16:" + qf::i18n::to_string(boost::get<ustring>(argument));
}

struct Thrown {
    std::string id;
    std::string arguments;
    std::string what;
    std::string catalogue;
};

/// Throws the message and looks at it as the places that report it do.
template <class Class, class... Arguments>
Thrown thrown(Arguments const&... arguments) {
    try {
        throwMessage<Class>(arguments...);
    } catch (qf::except::IMsgIDException const& caught) {
        Thrown result;
        result.id = caught.get_error_id(caught.get_msg_id());
        for (auto const& argument : caught.get_msg_id().arguments()) {
            result.arguments += shown(argument) + '|';
        }
        result.what = dynamic_cast<std::exception const&>(caught).what();
        result.catalogue = qf::i18n::to_string(qf::i18n::MessageCatalog::get_message(
            caught.get_msg_id(), qf::i18n::qbLocale::global()));
        return result;
    }
}

TEST(MessageIds, FillTheirArgumentsInOrder) {
    struct Row {
        Thrown thrown;
        char const* key;
        char const* arguments;
    };
    Row const rows[] = {
        {thrown<CFunctionNotFound>("f", "lib"), "CFunctionNotFound", "8:f|8:lib|"},
        {thrown<SettingsLibraryNotInitialized>(u"why"), "SettingsLibraryNotInitialized", "16:why|"},
        {thrown<JVMNotReadyForProcessingJavaFunction>(), "JVMNotReadyForProcessingJavaFunction",
         ""},
        {thrown<ZENBARFuncMustBeInvokedByExecEngine>(), "ZENBARFuncMustBeInvokedByExecEngine", ""},
        {thrown<ExecEngineNotReadyForProcessingZFunction>(),
         "ExecEngineNotReadyForProcessingZFunction", ""},
        {thrown<CanNotCreateTempDirectory>(u"/d"), "CanNotCreateTempDirectory", "16:/d|"},
        {thrown<NoWritePermissionOnDirectory>(u"/d", "why"), "NoWritePermissionOnDirectory",
         "16:/d|8:why|"},
        {thrown<DataTypeNotMatch>("int32", "bool"), "DataTypeNotMatch", "8:int32|8:bool|"},
        {thrown<ErrorCopyFileInPrefDir>(u"/s", u"/d", u"why"), "ErrorCopyFileInPrefDir",
         "16:/s|16:/d|16:why|"},
        {thrown<ErrorOverwriteFileInPrefDir>(u"/d"), "ErrorOverwriteFileInPrefDir", "16:/d|"},
        {thrown<PreferenceDirectoryNotExist>(u"/d", "why"), "PreferenceDirectoryNotExist",
         "16:/d|8:why|"},
        {thrown<ErrorMigratePrefsBetweenReleases>(u"R1", u"R2"), "ErrorMigratePrefsBetweenReleases",
         "16:R1|16:R2|"},
        {thrown<ErrorCreatePreferenceDirectoryTimeStamp>(u"/f", "why"),
         "ErrorCreatePreferenceDirectoryTimeStamp", "16:/f|8:why|"},
        {thrown<SettingsUserDirectoryNotExist>(), "SettingsUserDirectoryNotExist", ""},
        {thrown<TypeNotSpecifiedForNoneAnyType>("k"), "TypeNotSpecifiedForNoneAnyType", "8:k|"},
        {thrown<XMLMetaDataParserError>("p.k", "9", "1"), "XMLMetaDataParserError",
         "8:p.k|8:9|8:1|"},
        {thrown<XMLParseErrorWrongValueForGivenType>(u"uint8", u"x", u"unsigned int8"),
         "XMLParseErrorWrongValueForGivenType", "16:uint8|16:x|16:unsigned int8|"},
        {thrown<XMLParserErrorUnexpectedTextContent>("p.k", "key"),
         "XMLParserErrorUnexpectedTextContent", "8:p.k|8:key|"},
        {thrown<XMLParserErrorIllegalTagName>("p.k", "min", "key"), "XMLParserErrorIllegalTagName",
         "8:p.k|8:min|8:key|"},
        {thrown<XMLParserErrorNumOfValueNotInRange>("p.k", "int32", "3", "1", "2"),
         "XMLParserErrorNumOfValueNotInRange", "8:p.k|8:int32|8:3|8:1|8:2|"},
    };
    for (Row const& row : rows) {
        EXPECT_EQ(row.thrown.id, std::string("ZENBAR:settings:core:") + row.key);
        EXPECT_EQ(row.thrown.arguments, row.arguments) << row.key;
        // The text is the catalogue's own, with every argument in it.
        EXPECT_EQ(row.thrown.what, row.thrown.catalogue) << row.key;
        EXPECT_EQ(row.thrown.what.find(row.key), std::string::npos) << row.thrown.what;
        std::string rest = row.arguments;
        for (std::size_t end; (end = rest.find('|')) != std::string::npos; rest.erase(0, end + 1)) {
            std::size_t const begin = rest.find(':') + 1;
            EXPECT_NE(row.thrown.what.find(rest.substr(begin, end - begin)), std::string::npos)
                << row.thrown.what;
        }
    }
}

TEST(MessageIds, AreUnrelatedToTheInternalErrorsOfTheSameName) {
    try {
        throwMessage<DataTypeNotMatch>("int32", "bool");
    } catch (::settings::core::exception::DataTypeNotMatch const&) {
        FAIL();
    } catch (qf::except::IInternalException const&) {
        FAIL();
    } catch (DataTypeNotMatchException const&) {
        SUCCEED();
    }
}

}  // namespace
}  // namespace ZENBAR::settings::core
