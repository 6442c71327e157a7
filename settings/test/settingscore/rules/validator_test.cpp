#include <atomic>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <qbhost/QbHost.hpp>
#include <settingscore/errors/FunctionExceptions.hpp>
#include <settingscore/errors/SettingsException.hpp>
#include <settingscore/errors/ValueExceptions.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/host/Platform.hpp>
#include <settingscore/rules/JavaValidation.hpp>
#include <settingscore/rules/Validator.hpp>

#include "RulesWorld.hpp"

using namespace settings::core;
using namespace qbtest;
using boost::any;
using exception::ExceptionFromValidationFunction;
using exception::ValidationFunctionInvokingError;
using Parent = boost::shared_ptr<Settings const>;

namespace {

/// How a validation ended.
struct Result {
    std::string outcome;  // "accepted", "refused", "not reached", or what() of something else
    ustring text{};
};

template <class V>
Result run(V const& validator, Parent const& parent = {}, any const& value = 5) {
    try {
        validator.invokeValidationFunction(parent, "k", value);
        return {"accepted"};
    } catch (ExceptionFromValidationFunction const& error) {
        EXPECT_EQ(error.getCausingObject(), parent);
        EXPECT_EQ(error.getErrorCode(), 6);
        EXPECT_EQ(error.getKeyName(), "k");
        EXPECT_EQ(boost::any_cast<int>(error.getValue()), 5);
        EXPECT_EQ(error.getFunctionName(), validator.getFunctionName());
        EXPECT_EQ(error.getPackageName(), validator.getPackageName());
        return {"refused", error.getErrorMsg()};
    } catch (ValidationFunctionInvokingError const& error) {
        EXPECT_EQ(error.getFunctionName(), validator.getFunctionName());
        EXPECT_EQ(error.getPackageName(), validator.getPackageName());
        return {"not reached", error.getErrorMsg()};
    } catch (std::exception const& error) {
        return {error.what()};
    }
}

bool contains(ustring const& text, ustring const& part) { return text.find(part) != ustring::npos; }

// --- C ----------------------------------------------------------------------------------------

class CValidatorTest : public WithPlugins {};

TEST_F(CValidatorTest, FailuresAreTranslated) {
    struct Case {
        char const* package;
        char const* function;
        char const* outcome;
        char16_t const* partOfText;
    };
    Parent const parent = makeGroup("g");
    for (Case const& c : std::vector<Case>{
             {"checks", "acceptAll", "accepted", u""},
             {"/no/such/folder/checks", "acceptAll", "accepted", u""},
             {"checks", "refuse", "refused", u"the check says no"},
             {"checks", "refuseWithNames", "refused", u"g/k"},
             {"checks", "fail", "the check is broken", u""},
             {"checks", "failToLoad", "not reached", u"no helper"},
             {"checks", "noSuchFunction", "not reached", u"noSuchFunction"},
             {"checks", "accept", "not reached", u"accept"},  // There is one in the C library.
             {"noSuchLibrary", "acceptAll", "not reached", u"noSuchLibrary"},
             {"checks", "", "not reached", u"checks"},
             {"", "", "call to empty boost::function", u""},
         }) {
        SCOPED_TRACE(std::string(c.package) + " " + c.function);
        Result const result = run(CValidator(c.package, c.function), parent);
        EXPECT_EQ(result.outcome, c.outcome);
        EXPECT_TRUE(contains(result.text, c.partOfText)) << qf::i18n::to_string(result.text);
    }
}

TEST_F(CValidatorTest, ThreeFileNamesAreTriedInOrder) {
    namespace fs = std::filesystem;
    TempFolder const folder;
    environment().set("QBHOST_LIBRARY_PATH", folder.path().string());
    auto const provide = [&](char const* plugin, std::string const& as) {
        for (auto const& entry : fs::directory_iterator(QB_TEST_PLUGIN_DIR)) {
            if (entry.path().stem() == std::string("libqb") + plugin) {
                fs::copy_file(entry.path(), folder.path() / (as + quLibrarySuffix()));
                return;
            }
        }
        FAIL() << "no plug-in " << plugin;
    };
    CValidator const validator("thing", "acceptAll");
    EXPECT_EQ(run(validator).outcome, "not reached");
    provide("checks", "libthing");
    EXPECT_EQ(run(validator).outcome, "accepted");
    provide("defaults", "libqbthing");  // Has no such function.
    EXPECT_EQ(run(validator).outcome, "not reached");
    provide("checks", "thing");
    EXPECT_EQ(run(validator).outcome, "accepted");
}

// --- On nodes -----------------------------------------------------------------------------------

class NodeValidatorTest : public WithPlugins {
protected:
    static ustring refusalOf(Node const& group, any const& value = 5) {
        ustring text;
        expectThrow<ExceptionFromValidationFunction>(
            [&] { group->setAny("k", value, "user"); },
            [&](auto const& error) { text = error.getErrorMsg(); });
        return text;
    }
};

TEST_F(NodeValidatorTest, TheNearestValidatorAloneRunsWithTheNamesOfTheKey) {
    Node const top = makeGroup("top");
    Node const group = makeGroup("g", top);
    Node const key = makeKey("k", group);
    group->setAny("k", 1, "user");
    top->setValidator(CValidator("checks", "refuseWithNames"));
    EXPECT_EQ(refusalOf(group), u"g/k");
    EXPECT_EQ(boost::any_cast<int>(group->getAny("k", "user")), 1);
    group->setValidator(CValidator("checks", "refuse"));
    EXPECT_EQ(refusalOf(group), u"the check says no");
    key->setValidator(CValidator("checks", "acceptAll"));
    group->setAny("k", 2, "user");
    EXPECT_TRUE(isEqual(key->getValidatorToUse(), CValidator("checks", "acceptAll")));
}

TEST_F(NodeValidatorTest, AValidatorMayReadTheTree) {
    Node const group = makeGroup("g");
    group->setValidator(CValidator("checks", "withinLimit"));
    Node const limit = makeKey("limit", group);
    limit->setValidator(CValidator("checks", "acceptAll"));
    group->setAny("limit", 10, "user");
    makeKey("k", group);
    group->setAny("k", 10, "user");
    EXPECT_EQ(refusalOf(group, 11), u"above the limit");
    limit->setMetaData(SettingsKeyMetaData<any>({}, 10, {}));
    EXPECT_THROW(group->setAny("limit", 99, "user"), exception::ValueIsNotInRange)
        << "the validator is the last check";
}

TEST_F(NodeValidatorTest, AttachingABranchJudgesTheKeysInsideIt) {
    Node const parent = makeGroup("parent");
    parent->setValidator(CValidator("checks", "refuseWithNames"));
    Node const branch = makeGroup("branch");
    Node const inner = makeGroup("inner", branch);
    makeKey("k", inner);
    inner->setAny("k", 5, "user");
    expectThrow<ExceptionFromValidationFunction>(
        [&] { branch->setParent(parent); },
        [](auto const& error) { EXPECT_EQ(error.getErrorMsg(), u"inner/k"); });
    EXPECT_FALSE(parent->getChild("branch"));
    inner->setValidator(CValidator("checks", "acceptAll"));
    branch->setParent(parent);
    EXPECT_EQ(parent->getChild("branch"), branch);
}

TEST(ValidatorEquality, ComparesKindAndNames) {
    std::vector<Validator> const all = {
        Validator(),          ZValidator("a", "b"), CValidator("a", "b"), JValidator("a", "b"),
        ZValidator("a", "c"), CValidator("a", "c"), JValidator("a", "c"), ZValidator("x", "b"),
        CValidator("x", "b"), JValidator("x", "b"),
    };
    for (std::size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(all[i].which(), i == 0 ? 0 : static_cast<int>((i - 1) % 3) + 1);
        for (std::size_t j = 0; j < all.size(); ++j) {
            EXPECT_EQ(isEqual(all[i], Validator(all[j])), i == j) << i << " and " << j;
        }
    }
}

// --- ZENBAR and Java ----------------------------------------------------------------------------

/// What a proxy can do.
void behave(std::string const& function) {
    if (function == "refuse") throw SettingsException("id", "the script says no", "key");
    if (function == "break") throw std::runtime_error("broken");
    if (function == "number") throw 7;
    if (function == "verdict") {
        throw ExceptionFromValidationFunction({}, "inner", 1, "f", "p", u"inner verdict");
    }
    if (function == "unreachable") throw ValidationFunctionInvokingError("f", "p", u"unreachable");
}

class ZValidatorTest : public ::testing::Test {
protected:
    ZValidatorTest() { qbhost::setSignalThreadToThisThread(); }
    ~ZValidatorTest() override {
        ZValidator::setZENBARValFuncInvokingProxyName({});
        ZENBARFunctionInvoker::setLoadConfigProxy({});
        qbhost::setSignalThread({});
    }
    void installProxy() {
        ZValidator::setZENBARValFuncInvokingProxyName(
            [this](std::string const& package, std::string const& function, Parent const&,
                   std::string const& keyName, any const&) {
                calls += package + "." + function + "(" + keyName + ")";
                behave(function);
            });
    }
    std::string calls;
};

TEST_F(ZValidatorTest, FailuresAreTranslated) {
    installProxy();
    EXPECT_EQ(run(ZValidator("p", "accept")).outcome, "accepted");
    EXPECT_EQ(calls, "p.accept(k)");
    struct Case {
        char const* function;
        char const* outcome;
        ustring text;
    };
    ustring const verdict = u"Exception thrown by the validation function.";
    for (Case const& c : std::vector<Case>{{"refuse", "refused", u"the script says no"},
                                           {"break", "not reached", u"Unknown"},
                                           {"number", "not reached", u"Unknown"},
                                           {"verdict", "refused", verdict}}) {
        SCOPED_TRACE(c.function);
        Result const result = run(ZValidator("p", c.function));
        EXPECT_EQ(result.outcome, c.outcome);
        EXPECT_EQ(result.text, c.text);
    }
}

TEST_F(ZValidatorTest, AnotherThreadNeverReachesTheFunction) {
    installProxy();
    Result result;
    std::thread([&] { result = run(ZValidator("p", "accept")); }).join();
    EXPECT_EQ(result.outcome, "not reached");
    EXPECT_NE(result.text, u"Unknown");
    EXPECT_EQ(calls, "");
}

TEST_F(ZValidatorTest, AMissingProxyIsAskedForOnce) {
    Result const missing = run(ZValidator("p", "f"));
    EXPECT_EQ(missing.outcome, "not reached");
    EXPECT_NE(missing.text, u"Unknown");

    int loads = 0;
    ZENBARFunctionInvoker::setLoadConfigProxy([&] { ++loads; });
    EXPECT_EQ(run(ZValidator("p", "f")).text, missing.text) << "still missing after the load";
    ZENBARFunctionInvoker::setLoadConfigProxy([&] {
        ++loads;
        installProxy();
    });
    EXPECT_EQ(run(ZValidator("p", "f")).outcome, "accepted");
    EXPECT_EQ(run(ZValidator("p", "f")).outcome, "accepted");
    EXPECT_EQ(loads, 2);
}

class JValidatorTest : public ::testing::Test {
protected:
    ~JValidatorTest() override { JValidator::clearFunctions(); }
    static void installProxy() {
        JValidator::setJValProxy([](std::string const&, std::string const& function, Parent const&,
                                    std::string const&, any const&) { behave(function); });
    }
};

TEST_F(JValidatorTest, FailuresAreTranslated) {
    installProxy();
    struct Case {
        char const* function;
        char const* outcome;
        char16_t const* text;
    };
    for (Case const& c : std::vector<Case>{{"accept", "accepted", u""},
                                           {"refuse", "refused", u"the script says no"},
                                           {"break", "not reached", u"Unknown"},
                                           {"number", "not reached", u"Unknown"}}) {
        SCOPED_TRACE(c.function);
        Result const result = run(JValidator("p", c.function));
        EXPECT_EQ(result.outcome, c.outcome);
        EXPECT_EQ(result.text, c.text);
    }
    // Verdicts of the Java side itself arrive as they were made.
    expectThrow<ExceptionFromValidationFunction>(
        [] { JValidator("p", "verdict").invokeValidationFunction({}, "k", 5); },
        [](auto const& error) { EXPECT_EQ(error.getKeyName(), "inner"); });
    expectThrow<ValidationFunctionInvokingError>(
        [] { JValidator("p", "unreachable").invokeValidationFunction({}, "k", 5); },
        [](auto const& error) { EXPECT_EQ(error.getErrorMsg(), u"unreachable"); });
}

TEST_F(JValidatorTest, TheInitializerInstallsTheProxy) {
    JValidator const validator("p", "accept");
    Result const nothing = run(validator);
    EXPECT_EQ(nothing.outcome, "not reached");
    EXPECT_NE(nothing.text, u"Unknown");

    JValidator::setJValInitializer([] { return ustring(); });
    Result const idle = run(validator);
    EXPECT_EQ(idle.outcome, "not reached");
    EXPECT_NE(idle.text, nothing.text);

    JValidator::setJValInitializer([] {
        installProxy();
        return ustring(u"no class path");
    });
    Result const failed = run(validator);
    EXPECT_EQ(failed.outcome, "not reached");
    EXPECT_TRUE(contains(failed.text, u"no class path"));

    JValidator::clearFunctions();
    JValidator::setJValInitializer([] {
        installProxy();
        return ustring();
    });
    EXPECT_EQ(run(validator).outcome, "accepted");
    JValidator::clearFunctions();
    EXPECT_EQ(run(validator).text, nothing.text);
}

TEST_F(JValidatorTest, ValidationsRunOneAtATimeAndKnowOfThemselves) {
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
    std::atomic<int> untold{0};
    JValidator::setJValProxy([&](std::string const& package, std::string const& function,
                                 Parent const& parent, std::string const& keyName,
                                 any const& value) {
        if (!detail::isInsideJavaValidation()) ++untold;
        int const now = ++inside;
        if (most < now) most = now;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        --inside;
        // One validation may cause another on its own thread, and change the functions meanwhile.
        if (function == "outer") {
            JValidator(package, "inner").invokeValidationFunction(parent, keyName, value);
            if (!detail::isInsideJavaValidation()) ++untold;
            throw std::runtime_error("end");
        }
    });
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int n = 0; n < 5; ++n)
                EXPECT_EQ(run(JValidator("p", "outer")).text, u"Unknown");
            EXPECT_FALSE(detail::isInsideJavaValidation());
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(most, 1);
    EXPECT_EQ(untold, 0);

    auto const kept = std::make_shared<int>(1);
    JValidator::setJValProxy([kept](std::string const&, std::string const&, Parent const&,
                                    std::string const&, any const&) {
        JValidator::clearFunctions();
        EXPECT_EQ(*kept, 1) << "the running proxy stays whole";
    });
    EXPECT_EQ(run(JValidator("p", "f")).outcome, "accepted");
}

}  // namespace
