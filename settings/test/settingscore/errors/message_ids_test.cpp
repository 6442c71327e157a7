#include <settingscore/errors/MessageIds.hpp>

#include <gtest/gtest.h>
#include <boost/variant/get.hpp>
#include <settingscore/errors/HostExceptions.hpp>
#include <settingscore/host/I18n.hpp>

namespace ZENBAR::settings::core {
namespace {

/// Throws the message, whose text has to be in the catalogue, with every argument in it. Its
/// arguments, with a "w" before the wide ones.
template <class Class, class... Arguments>
std::string thrown(Arguments const&... arguments) {
    std::string all;
    try {
        throwMessage<Class>(arguments...);
    } catch (qf::except::IMsgIDException const& caught) {
        auto const& id = caught.get_msg_id();
        std::string const what = dynamic_cast<MessageException<Class> const&>(caught).what();
        EXPECT_EQ(what.find(id.key()), std::string::npos) << what;
        EXPECT_EQ(caught.get_error_id(id), "ZENBAR:settings:core:" + id.key());
        for (auto const& argument : id.arguments()) {
            auto const* const wide = boost::get<ustring>(&argument);
            auto const narrow =
                wide ? qf::i18n::to_string(*wide) : boost::get<std::string>(argument);
            EXPECT_NE(what.find(narrow), std::string::npos) << what;
            all += (all.empty() ? "" : " ") + std::string(wide ? "w" : "") + narrow;
        }
    }
    return all + '|';
}

TEST(MessageIds, FillTheirArgumentsInOrder) {
    auto const all = [](auto const&... each) { return (each + ...); };
    EXPECT_EQ(
        all(thrown<CFunctionNotFound>("f", "lib"), thrown<SettingsLibraryNotInitialized>(u"why"),
            thrown<JVMNotReadyForProcessingJavaFunction>(),
            thrown<ZENBARFuncMustBeInvokedByExecEngine>(),
            thrown<ExecEngineNotReadyForProcessingZFunction>(),
            thrown<CanNotCreateTempDirectory>(u"/d"),
            thrown<NoWritePermissionOnDirectory>(u"/d", "why"),
            thrown<ErrorCopyFileInPrefDir>(u"/s", u"/d", u"why"),
            thrown<ErrorOverwriteFileInPrefDir>(u"/d"),
            thrown<PreferenceDirectoryNotExist>(u"/d", "why"),
            thrown<ErrorMigratePrefsBetweenReleases>(u"R1", u"R2"),
            thrown<ErrorCreatePreferenceDirectoryTimeStamp>(u"/f", "why"),
            thrown<SettingsUserDirectoryNotExist>(), thrown<TypeNotSpecifiedForNoneAnyType>("k"),
            thrown<XMLMetaDataParserError>("p.k", "9", "1"),
            thrown<XMLParserErrorUnexpectedTextContent>("p.k", "key"),
            thrown<XMLParserErrorIllegalTagName>("p.k", "min", "key"),
            thrown<XMLParserErrorNumOfValueNotInRange>("p.k", "int32", "3", "1", "2")),
        "f lib|wwhy||||w/d|w/d why|w/s w/d wwhy|w/d|w/d why|wR1 wR2|w/f why||k|p.k 9 1|p.k key|p.k "
        "min key|p.k int32 3 1 2|");
}

}  // namespace
}  // namespace ZENBAR::settings::core
