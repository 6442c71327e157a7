#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <boost/variant/get.hpp>
#include <qbhost/QbHost.hpp>
#include <settingscore/errors/FunctionExceptions.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/errors/ReservedExceptions.hpp>
#include <settingscore/errors/SettingsException.hpp>
#include <settingscore/errors/ValueExceptions.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/rules/RunTimeDefault.hpp>

#include "RulesWorld.hpp"

using namespace settings::core;
using namespace qbtest;
using boost::any;
using exception::RunTimeFuncInvokingError;

namespace {

/// Text of the failure, empty if there was none.
template <class R>
ustring failureOf(R const& runTimeDefault) {
    try {
        runTimeDefault();
        return ustring();
    } catch (RunTimeFuncInvokingError const& error) {
        EXPECT_EQ(error.getFunctionName(), runTimeDefault.getFunctionName());
        EXPECT_EQ(error.getPackageName(), runTimeDefault.getPackageName());
        return error.getErrorMsg();
    }
}

class CRunTimeDefaultTest : public WithPlugins {};

TEST_F(CRunTimeDefaultTest, EveryFailureIsAnInvokingError) {
    EXPECT_EQ(boost::any_cast<double>(CRunTimeDefault("defaults", "giveDouble")()), 2.5);
    EXPECT_EQ(boost::any_cast<ustring>(CRunTimeDefault("defaults", "giveString")()), u"computed");
    EXPECT_TRUE(CRunTimeDefault("defaults", "giveNothing")().empty());
    struct Case {
        char const* package;
        char const* function;
        ustring part;
    };
    for (Case const& c : std::vector<Case>{{"defaults", "noSuchFunction", u"noSuchFunction"},
                                           {"noSuchLibrary", "giveDouble", u"noSuchLibrary"}}) {
        ustring const text = failureOf(CRunTimeDefault(c.package, c.function));
        EXPECT_NE(text.find(c.part), ustring::npos) << qf::i18n::to_string(text);
    }
    for (auto const& [package, function] : std::vector<std::pair<char const*, char const*>>{
             {"defaults", "fail"}, {"defaults", "failWithHostError"}, {"", ""}}) {
        EXPECT_EQ(failureOf(CRunTimeDefault(package, function)), u"Unknown") << function;
    }
}

TEST_F(CRunTimeDefaultTest, AKeyOffTheTreeComputesItsValueForEachRead) {
    Node const group = makeGroup("g");
    Node const key = makeKey("k", group);
    key->setRunTimeDefault(CRunTimeDefault("defaults", "giveCount"));
    int const first = boost::any_cast<int>(group->getAny("k", "factory"));
    EXPECT_EQ(boost::any_cast<int>(group->getAny("k", "user")), first + 1);
    EXPECT_EQ(boost::any_cast<int>(group->getAny("k", "")), first + 2);
    group->setAny("k", -1, "user");
    int const count = boost::any_cast<int>(group->getAny("k", "factory"));
    EXPECT_EQ(boost::any_cast<int>(group->getAny("k", "user")), -1);
    EXPECT_EQ(boost::any_cast<int>(group->getAny("k", "factory")), count + 1)
        << "the read of a stored value computed nothing";
}

TEST_F(CRunTimeDefaultTest, TheResultPassesTheChecksOfTheKeyButNotItsValidator) {
    using TypeMismatch = qf::except::Exception<ZENBAR::settings::core::DataTypeNotMatch>;
    Node const group = makeGroup("g");
    Node const key = makeKey("k", group);
    key->setValidator(CValidator("checks", "refuse"));
    auto const read = [&](char const* function) {
        key->setRunTimeDefault(CRunTimeDefault("defaults", function));
        return group->getAny("k", "");
    };
    EXPECT_EQ(boost::any_cast<double>(read("giveDouble")), 2.5);
    EXPECT_THROW(read("giveString"), TypeMismatch);
    EXPECT_THROW(read("giveNothing"), TypeMismatch);
    EXPECT_THROW(read("fail"), RunTimeFuncInvokingError);
    key->setMetaData(SettingsKeyMetaData<any>({}, 2.0, {}));
    EXPECT_THROW(read("giveDouble"), exception::ValueIsNotInRange);
    Node const free = makeKey("free", group);
    free->setRunTimeDefault(CRunTimeDefault("defaults", "giveNothing"));
    EXPECT_THROW(group->getAny("free", ""), exception::DefaultValidationFailedOnVoidType);
    EXPECT_FALSE(free->isUndefined());
}

class ZRunTimeDefaultTest : public ::testing::Test {
protected:
    ZRunTimeDefaultTest() { qbhost::setSignalThreadToThisThread(); }
    ~ZRunTimeDefaultTest() override {
        ZRunTimeDefault::setZRunTimeProxyFname({});
        ZENBARFunctionInvoker::setLoadConfigProxy({});
        qbhost::setSignalThread({});
    }
    void installProxy() {
        ZRunTimeDefault::setZRunTimeProxyFname(
            [this](std::string const& package, std::string const& function, any* result) {
                ++calls;
                if (function == "refuse") throw SettingsException("id", "no value", "key");
                if (function == "convert") {
                    throw exception::RuntimeFuncErrorConvertingZxArrayToAny(package, function,
                                                                            typeid(long));
                }
                if (function == "break") throw std::runtime_error("broken");
                *result = qf::i18n::to_ustring(package + "." + function);
            });
    }
    int calls = 0;
};

TEST_F(ZRunTimeDefaultTest, FailuresAreTranslated) {
    ustring const missing = failureOf(ZRunTimeDefault("p", "f"));
    EXPECT_FALSE(missing.empty());
    EXPECT_NE(missing, u"Unknown");
    ZENBARFunctionInvoker::setLoadConfigProxy([this] { installProxy(); });
    EXPECT_EQ(boost::any_cast<ustring>(ZRunTimeDefault("p", "f")()), u"p.f");
    EXPECT_EQ(failureOf(ZRunTimeDefault("p", "refuse")), u"no value");
    EXPECT_EQ(failureOf(ZRunTimeDefault("p", "convert")),
              u"The runtime function returns an zxArray that is not convertible to a supported "
              u"type.");
    EXPECT_EQ(failureOf(ZRunTimeDefault("p", "break")), u"Unknown");
    calls = 0;
    ustring elsewhere;
    std::thread([&] { elsewhere = failureOf(ZRunTimeDefault("p", "f")); }).join();
    EXPECT_FALSE(elsewhere.empty());
    EXPECT_NE(elsewhere, u"Unknown");
    EXPECT_NE(elsewhere, missing);
    EXPECT_EQ(calls, 0);
}

TEST(JRunTimeDefaultTest, NothingIsTranslated) {
    JRunTimeDefault const runTimeDefault("p", "f");
    Node const group = makeGroup("g");
    makeKey("k", group)->setRunTimeDefault(runTimeDefault);
    EXPECT_THROW(group->getAny("k", ""), boost::bad_function_call);
    JRunTimeDefault::setJRuntimeDefaultProxy(
        [](std::string const& package, std::string const& function) -> any {
            return qf::i18n::to_ustring(package + "." + function);
        });
    EXPECT_EQ(boost::any_cast<ustring>(group->getAny("k", "")), u"p.f");
    JRunTimeDefault::setJRuntimeDefaultProxy(
        [](std::string const&, std::string const&) -> any { throw 7; });
    EXPECT_THROW(group->getAny("k", ""), int);
    JRunTimeDefault::setJRuntimeDefaultProxy({});
}

template <class R>
void expectEqualityByNamesAndLevel() {
    R const original("p", "f");
    R copy(original);
    EXPECT_TRUE(copy == original);
    copy.setBelongingLevel("user");
    EXPECT_FALSE(copy == original) << "the level of a copy is its own";
    EXPECT_EQ(original.getBelongingLevel(), "");
    EXPECT_FALSE(original == R("p", "g"));
    EXPECT_FALSE(original == R("q", "f"));
}

TEST(RunTimeDefaultTest, AVariantKnowsItsLevel) {
    EXPECT_TRUE(isVoidRuntimeDefault(RunTimeDefault()));
    RunTimeDefault none;
    detail::setBelongingLevel(none, "user");
    EXPECT_FALSE(detail::belongsToLevel(none, "user"));
    EXPECT_FALSE(detail::belongsToLevel(none, ""));
    int which = 0;
    for (RunTimeDefault each : std::vector<RunTimeDefault>{
             CRunTimeDefault("p", "f"), ZRunTimeDefault("p", "f"), JRunTimeDefault("p", "f")}) {
        EXPECT_EQ(each.which(), ++which);
        EXPECT_FALSE(isVoidRuntimeDefault(each));
        EXPECT_TRUE(detail::belongsToLevel(each, ""));
        detail::setBelongingLevel(each, "factory");
        EXPECT_TRUE(detail::belongsToLevel(each, "factory"));
        EXPECT_FALSE(detail::belongsToLevel(each, "fact"));
    }
    expectEqualityByNamesAndLevel<CRunTimeDefault>();
    expectEqualityByNamesAndLevel<ZRunTimeDefault>();
    expectEqualityByNamesAndLevel<JRunTimeDefault>();
}

}  // namespace
