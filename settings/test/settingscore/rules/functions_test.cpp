#include <gmock/gmock.h>
#include <settingscore/host/Platform.hpp>
#include <settingscore/rules/CFunctionInvoker.hpp>
#include <support/TreeWorld.hpp>

using namespace qbtest;
using testing::HasSubstr;

namespace {

/// How a validator ends.
template <class V>
auto run(V const& validator)
    -> decltype(validator.invokeValidationFunction(Node(), "k", 5), std::string()) {
    Node const group = makeGroup("g");
    return ending([&] { validator.invokeValidationFunction(group, "k", 5); });
}
/// The value that a default gives, or how it ends.
template <class R>
auto run(R const& runTimeDefault) -> decltype(runTimeDefault(), std::string()) {
    any value;
    std::string const end = ending([&] { value = runTimeDefault(); });
    return end == "done" ? shown(value) : end;
}
/// The reason why the function was not reached, which is known.
template <class F>
std::string unreached(F const& function) {
    std::string const end = run(function);
    EXPECT_THAT(end, HasSubstr("InvokingError("));
    EXPECT_EQ(end.find("Unknown"), std::string::npos) << end;
    return end.substr(end.find(", ", end.find(", ") + 1));
}

/// What a proxy can do.
void behave(std::string const& function) {
    using namespace exception;
    if (function == "refuse") throw SettingsException("id", "the script says no", "key");
    if (function == "number") throw 7;
    if (function == "verdict") throw ExceptionFromValidationFunction({}, "key", 1, "f", "p", u"no");
}

class FunctionsTest : public TreeWorld {
protected:
    FunctionsTest() { qbhost::setSignalThreadToThisThread(); }
    void installZ() {
        ZValidator::setZENBARValFuncInvokingProxyName(
            [this](std::string const& package, std::string const& function, Parent const& parent,
                   std::string const& key, any const& value) {
                calls_ += package + parent->getName() + key + shown(value) + " ";
                behave(function);
            });
        ZRunTimeDefault::setZRunTimeProxyFname(
            [](auto&&, std::string const& function, any* result) {
                behave(function);
                *result = 3;
            });
    }
    static void installJ() {
        JValidator::setJValProxy(
            [](auto&&, std::string const& function, auto&&...) { behave(function); });
        JRunTimeDefault::setJRuntimeDefaultProxy([](auto&&, std::string const& function) -> any {
            behave(function);
            return 4;
        });
    }
    std::string calls_;
};

TEST_F(FunctionsTest, FailuresOfCFunctionsAreTranslated) {
    using D = CRunTimeDefault;
    using V = CValidator;
    EXPECT_EQ(run(V("/no/such/folder/checks", "acceptAll")), "done");
    EXPECT_THROW(run(V("checks", "fail")), std::runtime_error);
    // There is an "accept" in the C library.
    EXPECT_THAT(unreached(V("checks", "accept")), HasSubstr("accept"));
    EXPECT_THAT(unreached(V("noSuchLibrary", "acceptAll")), HasSubstr("noSuchLibrary"));
    using Invoker = CFunctionInvoker<V::FunctionPointer, V::Function>;
    EXPECT_THROW(Invoker("noSuchLibrary", "f").findFunction(), exception::ErrorLoadingLibrary);
    EXPECT_THROW(Invoker("checks", "f").findFunction(),
                 ZENBAR::settings::core::CFunctionNotFoundException);
    EXPECT_EQ(run(D("defaults", "failWithHostError")).substr(44), "defaults, Unknown)");
    EXPECT_THAT(unreached(D("noSuchLibrary", "giveDouble")), HasSubstr("noSuchLibrary"));
    EXPECT_THAT(unreached(D("defaults", "noSuchFunction")), HasSubstr("noSuchFunction"));

    // A library that is not the host's own has another prefix.
    std::string const suffix = quLibrarySuffix();
    std::filesystem::copy_file(QB_TEST_PLUGIN_DIR "/libqbchecks" + suffix,
                               folder() / ("libthing" + suffix));
    environment().set("QBHOST_LIBRARY_PATH", folder().string());
    EXPECT_EQ(run(V("thing", "acceptAll")), "done");
}

TEST_F(FunctionsTest, FailuresOfScriptsAndOfJavaAreTranslated) {
    using Z = ZValidator;
    using J = JValidator;
    installZ();
    installJ();
    std::string const refused =
        "ExceptionFromValidationFunction(g, k, 5, refuse, p, the script says no)";
    EXPECT_EQ(run(Z("p", "refuse")), refused);
    EXPECT_EQ(run(J("p", "refuse")), refused);
    std::string const unknown = "InvokingError(number, p, Unknown)";
    EXPECT_EQ(run(Z("p", "number")), "ValidationFunction" + unknown);
    EXPECT_EQ(run(J("p", "number")), "ValidationFunction" + unknown);
    EXPECT_EQ(run(ZRunTimeDefault("p", "number")), "RunTimeFunc" + unknown);
    EXPECT_EQ(calls_, "pgk5 pgk5 ");
    // Verdicts of the Java side itself arrive as they were made.
    EXPECT_EQ(run(J("p", "verdict")), "ExceptionFromValidationFunction(none, key, 1, f, p, no)");
    EXPECT_EQ(unreached(ZRunTimeDefault("p", "refuse")), ", the script says no)");
    // Nothing of a Java default is translated.
    EXPECT_THROW(JRunTimeDefault("p", "number")(), int);
}

TEST_F(FunctionsTest, AMissingProxyIsAskedForAndOtherThreadsDoNotReachIt) {
    ZValidator const z("p", "f");
    ZRunTimeDefault const d("p", "f");
    std::string const missing = unreached(z);
    int loads = 0;
    ZENBARFunctionInvoker::setLoadConfigProxy([&] {
        if (++loads == 2) installZ();
    });
    EXPECT_EQ(unreached(z), missing) << "still missing after the load";
    EXPECT_EQ(run(z) + run(z) + run(d), "donedone3");
    EXPECT_EQ(loads, 2);
    calls_.clear();
    std::thread([&] {
        EXPECT_NE(unreached(z), missing);
        EXPECT_NE(unreached(d), missing);
    }).join();
    EXPECT_EQ(calls_, "");

    JValidator const j("p", "f");
    unreached(j);
    JValidator::setJValInitializer([] { return ustring(u"no class path"); });
    EXPECT_THAT(unreached(j), HasSubstr("no class path"));
    JValidator::setJValInitializer([] {
        installJ();
        return ustring();
    });
    EXPECT_EQ(run(j), "done");
}

TEST_F(FunctionsTest, AProxyMayPutAnotherInItsPlaceWhileItRuns) {
    // What the first one holds must live to its end.
    auto const first = [] { return std::make_shared<int const>(1); };
    JValidator::setJValProxy([kept = first()](auto&&...) {
        JValidator::clearFunctions();
        EXPECT_EQ(*kept, 1);
    });
    ZRunTimeDefault::setZRunTimeProxyFname([kept = first()](auto&&, auto&&, any* result) {
        ZRunTimeDefault::setZRunTimeProxyFname([](auto&&, auto&&, any* next) { *next = 2; });
        *result = *kept;
    });
    JRunTimeDefault::setJRuntimeDefaultProxy([n = 0](auto&&...) mutable -> any { return ++n; });
    EXPECT_EQ(run(JValidator("p", "f")), "done");
    ZRunTimeDefault const z("p", "f");
    JRunTimeDefault const counted("p", "f");
    EXPECT_EQ((Texts{run(z), run(z)}), (Texts{"1", "2"}));
    EXPECT_EQ((Texts{run(counted), run(counted)}), (Texts{"1", "2"})) << "it is not copied";
}

TEST_F(FunctionsTest, JavaValidationsRunOneAtATime) {
    std::atomic<int> inside{0};
    std::atomic<int> wrong{0};
    JValidator::setJValProxy([&](auto& package, std::string const& function, auto&&... rest) {
        if (++inside != 1) ++wrong;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        --inside;
        // One validation may cause another on its own thread.
        if (function == "inner") return;
        JValidator(package, "inner").invokeValidationFunction(rest...);
        throw std::runtime_error("end");
    });
    concurrently(2, [](int) {
        for (int n = 0; n < 5; ++n)
            EXPECT_NE(run(JValidator("p", "outer")), "done");
    });
    EXPECT_EQ(wrong, 0);
}

TEST_F(FunctionsTest, TheResultOfADefaultPassesTheChecksOfTheKeyButNotItsValidator) {
    Node const group = makeGroup("");
    Node const key = makeKey("k", group);
    key->setValidator(CValidator("checks", "refuse"));
    auto const read = [&](char const* function) {
        key->setRunTimeDefault(CRunTimeDefault("defaults", function));
        return ending([&] { group->getAny("k", ""); });
    };
    EXPECT_EQ(read("giveDouble"), "done");
    key->setMetaData(SettingsKeyMetaData<any>({}, 2.0, {}));
    EXPECT_EQ(read("giveDouble"), "ValueIsNotInRange(k, 2.5, , 2)");
}

TEST_F(FunctionsTest, ADefaultThatComesToReadItselfIsRefused) {
    // The function's name is that of the key which it reads: itself, and two that read each other.
    Node const group = makeGroup("");
    makeKey("z", group)->setRunTimeDefault(ZRunTimeDefault("p", "z"));
    makeKey("j", group)->setRunTimeDefault(JRunTimeDefault("p", "j"));
    makeKey("one", group)->setRunTimeDefault(ZRunTimeDefault("p", "other"));
    makeKey("other", group)->setRunTimeDefault(JRunTimeDefault("p", "one"));
    ZRunTimeDefault::setZRunTimeProxyFname(
        [&](auto&&, std::string const& key, any* result) { *result = group->getAny(key, ""); });
    JRunTimeDefault::setJRuntimeDefaultProxy(
        [&](auto&&, std::string const& key) { return group->getAny(key, ""); });
    auto const read = [&](char const* key) { return ending([&] { group->getAny(key, ""); }); };
    EXPECT_THAT(read("z"), HasSubstr("RunTimeFuncInvokingError(z, p, "));
    EXPECT_EQ(read("j"),
              "RunTimeFuncInvokingError(j, p, The runtime default reads its own value.)");
    EXPECT_THAT(read("one"), HasSubstr("RunTimeFuncInvokingError(other, p, "));
    installZ();
    EXPECT_EQ(shown(group->getAny("z", "")), "3") << "it is not taken to be running still";
}

TEST_F(FunctionsTest, ValidatorsDifferByKindAndNames) {
    EXPECT_TRUE(isEqual(CValidator("p", "f"), CValidator("p", "f")));
    EXPECT_FALSE(isEqual(CValidator("p", "f"), CValidator("q", "f")));
    EXPECT_FALSE(isEqual(CValidator("p", "f"), CValidator("p", "g")));
    EXPECT_FALSE(isEqual(CValidator("p", "f"), JValidator("p", "f")));
}

}  // namespace
