#include <support/TreeWorld.hpp>

using namespace qbtest;

namespace {

/// A product with keys of each standing: `k` has a factory value, `empty` has none.
class ValuesTest : public TreeWorld {
protected:
    ValuesTest() {
        factoryFile(
            "p", "p.settings",
            intKey("k", "1") + keyXml("empty", "int32", "") +
                keyXml("number", "double", valueXml("7")) + keyXml("computed", "double", "") +
                "<key name=\"fixed\" readonly=\"true\"><int32><value>4</value></int32></key>"
                "<key name=\"free\" anytype=\"true\"></key>" +
                groupXml("g", intKey("k", "1")) + "<settings name=\"locked\" readonly=\"true\">" +
                intKey("k", "1") + "</settings>");
    }
    static void giveDefault(std::string const& key, char const* function,
                            std::string const& level) {
        CRunTimeDefault result("defaults", function);
        result.setBelongingLevel(level);
        at("p." + key)->setRunTimeDefault(result);
    }
};

TEST_F(ValuesTest, TheFirstLevelWithAValueWins) {
    // What is in force and on session, user and factory. The factory value of `number` is 7, values
    // on the levels `stored` are 9, the default of level `owner` is 2.5.
    auto const read = [&](std::string const& key, Texts const& stored, char const* owner) {
        freshRoot();
        std::filesystem::remove(userFilePath("p"));
        Node const product = at("p");
        if (*owner) giveDefault(key, "giveDouble", owner);
        for (std::string const& level : stored)
            product->setAny(key, 9.0, level);
        std::string all;
        for (char const* level : {"", "session", "user", "factory"}) {
            std::string const text = shownAt("p." + key, level);
            EXPECT_EQ(product->isSet(key, level), text != "-") << level;
            all += text.substr(text.find(' ') + 1) + " ";
        }
        EXPECT_EQ(at("p." + key)->isUndefined(), all == "- - - - ");
        return all;
    };
    EXPECT_EQ(read("computed", {}, ""), "- - - - ");
    EXPECT_EQ(read("computed", {}, "factory"), "2.5 - - 2.5 ");
    EXPECT_EQ(read("computed", {"user"}, "factory"), "9 - 9 2.5 ");
    EXPECT_EQ(read("computed", {"user"}, "session"), "2.5 2.5 9 - ");
    EXPECT_EQ(read("number", {}, "user"), "2.5 - 2.5 7 ");
}

TEST_F(ValuesTest, AWrongNameOrLevelIsToldInTheOrderOfTheChecks) {
    Node const p = at("p");
    for (std::string const name : {"x", "g"}) {
        auto const refusal = (name == "x" ? "NoSuchKey(p, " : "NotAKeyName(p, ") + name + ")";
        EXPECT_EQ(ending([&] { p->getAny(name, ""); }), refusal);
        EXPECT_EQ(ending([&] { p->getDataTypeIndex(name); }), refusal);
        EXPECT_EQ(ending([&] { p->validateAny(name, 'c'); }), refusal);
        EXPECT_EQ(setting("p." + name, 'c'), refusal);
        EXPECT_EQ(ending([&] { p->unset(name, "user"); }), refusal);
    }
    expectThrow<exception::UnSupportedLevel>(
        [&] { p->getAny("g", "workgroup"); },
        [](auto& e) { EXPECT_EQ(e.getSupportedLevelList(), "session, user, factory, \n"); });
    std::string const factory = "CantModifyValuesOnReadOnlyLevel(p, factory)";
    EXPECT_EQ(ending([&] { p->getAny("x", "nonsense"); }), "NoSuchKey(p, x)");
    EXPECT_EQ(setting("p.x", 'c', "factory"), "NoSuchKey(p, x)");
    EXPECT_EQ(setting("p.g", 'c', "factory"), factory);
    EXPECT_EQ(ending([&] { p->unset("x", "factory"); }), factory);
    EXPECT_EQ(ending([&] { at("p.locked")->unset("k", "user"); }),
              "CannotAddRemoveNodeUnderReadOnlyParent(p.locked.k, p.locked)");
    EXPECT_EQ(ending([&] { p->unset("k", "session"); }),
              "ValueNotDefinedForGivenLevel(p.k, session)");
}

TEST_F(ValuesTest, ARefusedSetChangesNothing) {
    userFile("p", intKey("fixed", "6") + intKey("k", "2"));
    at("p.g.k")->setMetaData(SettingsKeyMetaData<any>(0, 5, {}));
    at("p.g.k")->setValidator(CValidator("checks", "refuse"));
    at("p.free")->setMetaData(SettingsKeyMetaData<any>({}, 3.0, {}));
    auto const files = userFiles();
    Heard heard(root());
    auto const check = [](std::string const& group, char const* key, any const& value) {
        std::string const refusal = setting(group + "." + key, value);
        EXPECT_EQ(ending([&] { at(group)->validateAny(key, value); }), refusal);
        return refusal;
    };
    EXPECT_EQ(check("p", "fixed", 'c'), "CannotChangeValueForReadOnlySetting(p.fixed)");
    EXPECT_EQ(check("p.g", "k", 9.0), "DataTypeNotMatch(int32, double)");
    EXPECT_EQ(check("p", "free", 4.0), "ValueIsNotInRange(p.free, 4, , 3)");
    EXPECT_EQ(check("p", "free", std::vector<double>{4, 4}),
              "DataArraySizeOutOfRange(p.free, 1, 1, 2)");
    EXPECT_EQ(check("p.g", "k", Ints{9}), "ValueIsNotInRange(p.g.k, 9, 0, 5)");
    EXPECT_EQ(check("p.g", "k", 5),
              "ExceptionFromValidationFunction(p.g, k, 5, refuse, checks, the check says no)");
    EXPECT_EQ(heard.take(), "");
    EXPECT_EQ(userFiles(), files);
    EXPECT_EQ(shownAt("p.k") + shownAt("p.g.k"), "21");
    // A key that is read-only can be unset, a key in a group that is read-only can be set.
    at("p")->unset("fixed", "user");
    EXPECT_EQ(setting("p.locked.k", 2), "done");
}

TEST_F(ValuesTest, AChangeTellsAndSavesWhereItIsSeen) {
    Heard heard(root());
    noteSaves(heard);
    auto const check = [&](std::string const& done, char const* told, char const* inForce) {
        EXPECT_EQ(done, "done");
        EXPECT_EQ(heard.take(), told) << inForce;
        EXPECT_EQ(shownAt("p.k"), inForce);
    };
    auto const unsetting = [](char const* level) {
        return ending([&] { at("p")->unset("k", level); });
    };
    check(setting("p.k", 2), "value k; save user:k", "2");
    check(setting("p.k", 3, "session"), "value k; save session:k", "3");
    check(setting("p.k", 4), "save user:k", "3");
    check(unsetting("session"), "value k; save session:p", "4");
    check(setting("p.k", 1), "value k; save user:k", "1");
    check(unsetting("user"), "save user:p", "1");

    giveDefault("computed", "giveDouble", "user");
    EXPECT_EQ(setting("p.computed", 2.5), "done");
    EXPECT_EQ(heard.take(), "") << "that is the value already";
    giveDefault("empty", "fail", "factory");
    EXPECT_EQ(setting("p.empty", 5), "RunTimeFuncInvokingError(fail, defaults, Unknown)");
    EXPECT_EQ(shownAt("p.empty", "user"), "-") << "not the owner: not run";
    EXPECT_EQ(heard.take(), "");
}

TEST_F(ValuesTest, ARemovalAboveADefaultThatFailsStandsAndIsSaved) {
    Node const product = at("p");
    product->setAny("computed", 4.0, "user");
    giveDefault("computed", "fail", "factory");
    EXPECT_EQ(ending([&] { product->unset("computed", "user"); }),
              "RunTimeFuncInvokingError(fail, defaults, Unknown)");
    EXPECT_EQ(shownAt("p.computed", "user"), "-");
    freshRoot();
    EXPECT_EQ(shownAt("p.computed", "user"), "-") << "the file has lost it, too";
}

TEST_F(ValuesTest, AReferenceToAValidatorGoesOnShowingWhatTheNodeHas) {
    Node const group = at("p.g");
    Validator const& shownBefore = group->getValidator();
    for (Validator const& set : {Validator(CValidator("checks", "refuse")),
                                 Validator(ZValidator("p", "f")), Validator()}) {
        group->setValidator(set);
        EXPECT_EQ(&shownBefore, &group->getValidator());
        EXPECT_TRUE(isEqual(shownBefore, set)) << set.which();
    }
}

// --- Threads ------------------------------------------------------------------------------------

TEST_F(ValuesTest, ReadersAndWritersWithChecksThatRead) {
    factoryFile("limits", "limits.settings", intKey("max", "10"));
    Node const group = at("p.g");
    group->setValidator(ZValidator("p", "f"));
    judgeWith([](auto const&, Parent const& parent, auto&&...) {
        EXPECT_TRUE(parent->isSet("k", ""));
        // The first touch of a product may come under the lock.
        EXPECT_EQ(shownAt("limits.max"), "10");
    });
    std::atomic<int> writing{2};
    concurrently(4, [&](int thread) {
        // Readers without a gap between them let the writers through.
        while (thread >= 2 && writing > 0)
            group->getAny("k", "");
        for (int i = 1; thread < 2 && i <= 60; ++i)
            thread == 0 ? group->setAny("k", 1 + i, "session") : group->setAny("k", -i, "user");
        if (thread < 2) --writing;
    });
    EXPECT_EQ(shownAt("p.g.k"), "61");
    freshRoot();
    EXPECT_EQ(shownAt("p.g.k", "user"), "-60") << "the last save won";
}

TEST_F(ValuesTest, OfTwoFirstValuesOneSettlesAKeyWhole) {
    static thread_local any first;
    qbhost::setSignalThread([] { return true; });
    ZRunTimeDefault::setZRunTimeProxyFname(
        [](auto const&, auto const&, any* result) { *result = first; });
    for (int round = 0; round < 100; ++round) {
        Node const group = makeGroup("g");
        Node const key = makeKey("k", group);
        key->setRunTimeDefault(ZRunTimeDefault("p", "f"));
        concurrently(2, [&](int thread) {
            first = thread == 0 ? any(1) : any(std::vector<double>{1, 2, 3});
            ending([&] { group->getAny("k", ""); });  // Refused if the other type came first.
            first.clear();
        });
        bool const isInt = group->getDataTypeIndex("k") == 7ul;
        ASSERT_EQ(key->getValueArraySizeValidator()->maxArrSize(), isInt ? 1u : 3u);
        group->setAny("k", isInt ? any(5) : any(std::vector<double>{1}), "user");
    }
}

}  // namespace
