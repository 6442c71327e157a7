#include <settingscore/host/Platform.hpp>
#include <settingscore/rules/JavaValidation.hpp>
#include <settingscore/tree/TreeWorld.hpp>

using namespace qbtest;

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
std::string unreached(F const& function, std::string const& inReason = {}) {
    std::string const end = run(function);
    std::string const kind = end.substr(0, end.find('('));
    std::size_t const reason = std::min(end.find(", ", end.find(", ") + 1), end.size());
    EXPECT_TRUE(kind == "ValidationFunctionInvokingError" || kind == "RunTimeFuncInvokingError")
        << end;
    EXPECT_NE(end.find(inReason, reason), std::string::npos) << end;
    EXPECT_EQ(end.find("Unknown"), std::string::npos) << end;
    return end.substr(reason);
}

/// What a proxy can do.
void behave(std::string const& function) {
    using namespace exception;
    if (function == "refuse") throw SettingsException("id", "the script says no", "key");
    if (function == "break") throw std::runtime_error("broken");
    if (function == "number") throw 7;
    if (function == "verdict") throw ExceptionFromValidationFunction({}, "key", 1, "f", "p", u"no");
    if (function == "unreachable") throw ValidationFunctionInvokingError("f", "p", u"no host");
    if (function == "convert") throw RuntimeFuncErrorConvertingZxArrayToAny("p", "f", typeid(long));
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
            [this](std::string const& package, std::string const& function, any* result) {
                calls_ += package + function + " ";
                behave(function);
                *result = 3;
            });
    }
    static void installJ() {
        JValidator::setJValProxy(
            [](auto const&, std::string const& function, auto&&...) { behave(function); });
        JRunTimeDefault::setJRuntimeDefaultProxy(
            [](std::string const& package, std::string const& function) -> any {
                behave(function);
                return qf::i18n::to_ustring(package + "." + function);
            });
    }
    std::string calls_;
};

TEST_F(FunctionsTest, FailuresOfCFunctionsAreTranslated) {
    using D = CRunTimeDefault;
    using V = CValidator;
    EXPECT_EQ(run(V("checks", "acceptAll")), "done");
    EXPECT_EQ(run(V("/no/such/folder/checks", "acceptAll")), "done");
    EXPECT_EQ(run(V("checks", "refuseWithNames")),
              "ExceptionFromValidationFunction(g, k, 5, refuseWithNames, checks, g/k)");
    EXPECT_THROW(run(V("checks", "fail")), std::runtime_error);
    EXPECT_EQ(unreached(V("checks", "failToLoad")), ", no helper)");
    unreached(V("checks", "accept"), "accept");  // There is one in the C library.
    unreached(V("noSuchLibrary", "acceptAll"), "noSuchLibrary");
    EXPECT_THROW(run(V("", "")), boost::bad_function_call);
    EXPECT_EQ(run(D("defaults", "giveDouble")), "double 2.5");
    EXPECT_EQ(run(D("defaults", "giveString")), "string computed");
    EXPECT_EQ(run(D("defaults", "giveNothing")), "-");
    EXPECT_EQ(run(D("defaults", "fail")), "RunTimeFuncInvokingError(fail, defaults, Unknown)");
    EXPECT_EQ(run(D("defaults", "failWithHostError")).substr(44), "defaults, Unknown)");
    EXPECT_EQ(run(D("", "")), "RunTimeFuncInvokingError(, , Unknown)");
    unreached(D("defaults", "noSuchFunction"), "noSuchFunction");
    unreached(D("noSuchLibrary", "giveDouble"), "noSuchLibrary");

    // Three file names are tried in order.
    environment().set("QBHOST_LIBRARY_PATH", folder().string());
    auto const provide = [&](std::string const& plugin, std::string const& as) {
        std::filesystem::copy_file(
            std::filesystem::path(QB_TEST_PLUGIN_DIR) / ("libqb" + plugin + quLibrarySuffix()),
            folder() / (as + quLibrarySuffix()));
        return run(V("thing", "acceptAll")) == "done";
    };
    EXPECT_TRUE(provide("checks", "libthing"));
    EXPECT_FALSE(provide("defaults", "libqbthing")) << "has no such function";
    EXPECT_TRUE(provide("checks", "thing"));
}

TEST_F(FunctionsTest, FailuresOfScriptsAndOfJavaAreTranslated) {
    using Z = ZValidator;
    using J = JValidator;
    installZ();
    installJ();
    std::string const refused =
        "ExceptionFromValidationFunction(g, k, 5, refuse, p, the script says no)";
    EXPECT_EQ(run(Z("p", "accept")) + run(J("p", "accept")), "donedone");
    EXPECT_EQ(run(Z("p", "refuse")), refused);
    EXPECT_EQ(run(J("p", "refuse")), refused);
    for (std::string const function : {"break", "number"}) {
        std::string const unknown = "InvokingError(" + function + ", p, Unknown)";
        EXPECT_EQ(run(Z("p", function)), "ValidationFunction" + unknown);
        EXPECT_EQ(run(J("p", function)), "ValidationFunction" + unknown);
        EXPECT_EQ(run(ZRunTimeDefault("p", function)), "RunTimeFunc" + unknown);
    }
    EXPECT_EQ(calls_, "pgk5 pgk5 pgk5 pbreak pgk5 pnumber ");
    // Verdicts of the Java side itself arrive as they were made.
    EXPECT_EQ(run(Z("p", "verdict")).substr(31),
              "(g, k, 5, verdict, p, Exception thrown by the validation function.)");
    EXPECT_EQ(run(J("p", "verdict")), "ExceptionFromValidationFunction(none, key, 1, f, p, no)");
    EXPECT_EQ(run(J("p", "unreachable")), "ValidationFunctionInvokingError(f, p, no host)");
    EXPECT_EQ(run(ZRunTimeDefault("p", "f")), "3");
    EXPECT_EQ(unreached(ZRunTimeDefault("p", "refuse")), ", the script says no)");
    EXPECT_EQ(unreached(ZRunTimeDefault("p", "convert")),
              ", The runtime function returns an zxArray that is not convertible to a supported "
              "type.)");
    // Nothing of a Java default is translated.
    EXPECT_EQ(run(JRunTimeDefault("p", "f")), "string p.f");
    EXPECT_THROW(JRunTimeDefault("p", "number")(), int);
    JRunTimeDefault::setJRuntimeDefaultProxy({});
    EXPECT_THROW(JRunTimeDefault("p", "f")(), boost::bad_function_call);
}

TEST_F(FunctionsTest, AMissingProxyIsAskedForAndOtherThreadsDoNotReachIt) {
    ZValidator const z("p", "f");
    ZRunTimeDefault const d("p", "f");
    std::string const missing = unreached(z);
    EXPECT_EQ(unreached(d), missing);
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
    std::string const nothing = unreached(j);
    JValidator::setJValInitializer([] { return ustring(); });
    EXPECT_NE(unreached(j), nothing);
    ustring error = u"no class path";
    JValidator::setJValInitializer([&] {
        installJ();
        return error;
    });
    unreached(j, "no class path");
    error.clear();
    JValidator::setJValProxy({});
    EXPECT_EQ(run(j), "done");
    JValidator::clearFunctions();
    EXPECT_EQ(unreached(j), nothing);
}

TEST_F(FunctionsTest, AProxyMayPutAnotherInItsPlaceWhileItRuns) {
    // What the first one holds must live to its end.
    auto const first = [] { return std::make_shared<int const>(1); };
    ZValidator::setZENBARValFuncInvokingProxyName([kept = first()](auto&&...) {
        ZValidator::setZENBARValFuncInvokingProxyName([](auto&&...) { behave("refuse"); });
        EXPECT_EQ(*kept, 1);
    });
    JValidator::setJValProxy([kept = first()](auto&&...) {
        JValidator::clearFunctions();
        EXPECT_EQ(*kept, 1);
    });
    ZRunTimeDefault::setZRunTimeProxyFname([kept = first()](auto&&, auto&&, any* result) {
        ZRunTimeDefault::setZRunTimeProxyFname([](auto&&, auto&&, any* next) { *next = 2; });
        *result = *kept;
    });
    JRunTimeDefault::setJRuntimeDefaultProxy([kept = first()](auto&&...) -> any {
        JRunTimeDefault::setJRuntimeDefaultProxy([](auto&&...) -> any { return 2; });
        return *kept;
    });
    EXPECT_EQ(run(JValidator("p", "f")), "done");
    ZValidator const z("p", "f");
    ZRunTimeDefault const ofZ("p", "f");
    JRunTimeDefault const ofJ("p", "f");
    EXPECT_EQ((Texts{run(z), run(ofZ), run(ofJ)}), (Texts{"done", "1", "1"}));
    EXPECT_EQ((Texts{run(ofZ), run(ofJ)}), (Texts{"2", "2"}));
    EXPECT_EQ(run(z), "ExceptionFromValidationFunction(g, k, 5, f, p, the script says no)");
}

TEST_F(FunctionsTest, JavaValidationsRunOneAtATimeAndKnowOfThemselves) {
    std::atomic<int> inside{0};
    std::atomic<int> wrong{0};
    JValidator::setJValProxy([&](std::string const& package, std::string const& function,
                                 Parent const& parent, std::string const& key, any const& value) {
        if (++inside != 1 || !detail::isInsideJavaValidation()) ++wrong;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        --inside;
        // One validation may cause another on its own thread.
        if (function == "inner") return;
        JValidator(package, "inner").invokeValidationFunction(parent, key, value);
        if (!detail::isInsideJavaValidation()) ++wrong;
        throw std::runtime_error("end");
    });
    concurrently(2, [](int) {
        for (int n = 0; n < 5; ++n)
            EXPECT_NE(run(JValidator("p", "outer")), "done");
        EXPECT_FALSE(detail::isInsideJavaValidation());
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
    EXPECT_EQ(read("giveString"), "DataTypeNotMatch(double, string)");
    EXPECT_EQ(read("giveNothing"), "DataTypeNotMatch(double, void)");
    key->setMetaData(SettingsKeyMetaData<any>({}, 2.0, {}));
    EXPECT_EQ(read("giveDouble"), "ValueIsNotInRange(k, 2.5, , 2)");
    // Off the tree each read computes the value, if none is stored.
    makeKey("count", group)->setRunTimeDefault(CRunTimeDefault("defaults", "giveCount"));
    group->setAny("count", -1, "user");
    auto const count = [&] { return boost::any_cast<int>(group->getAny("count", "factory")); };
    int const first = count();
    EXPECT_EQ(shown(group->getAny("count", "user")), "-1");
    EXPECT_EQ(count(), first + 1) << "the read of a stored value computed nothing";
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
    std::string const told =
        ", p, Error invoking runtime function. Please refer to error message "
        "for detail.)";
    EXPECT_EQ(read("z"), "RunTimeFuncInvokingError(z" + told);
    EXPECT_EQ(read("j"),
              "RunTimeFuncInvokingError(j, p, The runtime default reads its own value.)");
    EXPECT_EQ(read("one"), "RunTimeFuncInvokingError(other" + told);
    EXPECT_EQ(read("other"), "RunTimeFuncInvokingError(other" + told);
    installZ();
    EXPECT_EQ(shown(group->getAny("z", "")), "3") << "it is not taken to be running still";
}

TEST_F(FunctionsTest, DifferByKindNamesAndLevel) {
    std::vector<Validator> validators = {Validator()};
    for (auto const& [package, function] : {std::pair("p", "f"), {"p", "g"}, {"q", "f"}}) {
        validators.emplace_back(CValidator(package, function));
        validators.emplace_back(ZValidator(package, function));
        validators.emplace_back(JValidator(package, function));
    }
    for (auto const& a : validators) {
        for (auto const& b : validators)
            EXPECT_EQ(isEqual(a, Validator(b)), &a == &b);
    }
    EXPECT_FALSE(ZRunTimeDefault("p", "f") == ZRunTimeDefault("p", "g"));
    EXPECT_FALSE(JRunTimeDefault("p", "f") == JRunTimeDefault("p", "g"));
    CRunTimeDefault const original("p", "f");
    CRunTimeDefault copy = original;
    EXPECT_TRUE(copy == original);
    copy.setBelongingLevel("user");
    EXPECT_FALSE(copy == original) << "the level of a copy is its own";
    EXPECT_TRUE(detail::belongsToLevel(original, "") && detail::belongsToLevel(copy, "user"));
    EXPECT_FALSE(detail::belongsToLevel(RunTimeDefault(), ""));
}

}  // namespace
