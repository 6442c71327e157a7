#include <atomic>
#include <string>
#include <vector>

#include <boost/function.hpp>
#include <settingscore/errors/MessageIds.hpp>

#include "TreeWorld.hpp"

using namespace settings::core;
using namespace qbtest;
using boost::any;

namespace {

/// A product with keys of each standing: `k` has a factory value, `empty` has none.
class ValuesTest : public TreeWorld {
protected:
    ValuesTest() {
        factoryFile(
            "p", "p.settings",
            intKey("k", "1") + intKey("empty", "") +
                "<key name=\"fixed\" readonly=\"true\"><int32><value>4</value></int32></key>"
                "<key name=\"free\" anytype=\"true\"></key>"
                "<key name=\"number\"><double><value>7</value></double></key>"
                "<key name=\"computed\"><double></double></key>"
                "<settings name=\"g\" visible=\"true\">" +
                intKey("k", "1") + "</settings><settings name=\"locked\" readonly=\"true\">" +
                intKey("k", "1") + "</settings>");
    }
    static CRunTimeDefault giving(char const* function, std::string const& level) {
        CRunTimeDefault result("defaults", function);
        result.setBelongingLevel(level);
        return result;
    }
};

// --- Reads --------------------------------------------------------------------------------------

TEST_F(ValuesTest, TheFirstLevelWithAValueWins) {
    struct Case {
        char const* key;                // `number` has a factory value of another double
        Texts stored;                   // levels that get an own value: another double
        char const* owner;              // of the default, which is 2.5
        std::vector<char const*> read;  // in force, session, user, factory
    };
    char const* const other = "another double";
    for (Case const& c : std::vector<Case>{
             {"computed", {}, "", {"-", "-", "-", "-"}},
             {"computed", {}, "factory", {"2.5", "-", "-", "2.5"}},
             {"computed", {}, "user", {"2.5", "-", "2.5", "-"}},
             {"computed", {}, "session", {"2.5", "2.5", "-", "-"}},
             {"computed", {"user"}, "factory", {other, "-", other, "2.5"}},
             {"computed", {"user"}, "user", {other, "-", other, "-"}},
             {"computed", {"user"}, "session", {"2.5", "2.5", other, "-"}},
             {"computed", {"session"}, "session", {other, other, "-", "-"}},
             {"computed", {"session", "user"}, "factory", {other, other, other, "2.5"}},
             {"number", {}, "user", {"2.5", "-", "2.5", other}},
             {"number", {}, "factory", {other, "-", "-", other}},
         }) {
        SCOPED_TRACE(c.key + std::string(" ") + c.owner + " " + std::to_string(c.stored.size()));
        freshRoot();
        std::filesystem::remove(userFilePath("p"));
        Node const product = at("p");
        if (*c.owner)
            at(std::string("p.") + c.key)->setRunTimeDefault(giving("giveDouble", c.owner));
        for (std::string const& level : c.stored)
            product->setAny(c.key, 9.0, level);
        Texts const levels = {"", "session", "user", "factory"};
        for (std::size_t i = 0; i < levels.size(); ++i) {
            EXPECT_EQ(shown(product->getAny(c.key, levels[i])), c.read[i]) << levels[i];
            EXPECT_EQ(product->isSet(c.key, levels[i]), std::string(c.read[i]) != "-") << levels[i];
        }
        Node const key = at(std::string("p.") + c.key);
        EXPECT_EQ(key->isRuntimeOwningLevel("user"), std::string(c.owner) == "user");
        EXPECT_FALSE(key->isRuntimeOwningLevel(""));
        EXPECT_EQ(key->isUndefined(), c.read[0] == std::string("-"));
    }
}

TEST_F(ValuesTest, AKeyIsDefinedByItsDefaultEvenIfThatFails) {
    Node const key = at("p.empty");
    EXPECT_TRUE(key->isUndefined());
    key->setRunTimeDefault(giving("fail", "factory"));
    EXPECT_FALSE(key->isUndefined());
    EXPECT_THROW(at("p")->getAny("empty", ""), exception::RunTimeFuncInvokingError);
    EXPECT_TRUE(at("p")->getAny("empty", "user").empty()) << "not the owner: not run";
    EXPECT_TRUE(key->getAnyValueInternal("", false).empty());
}

TEST_F(ValuesTest, ReadsFailWithTheNodeAndTheName) {
    Node const product = at("p");
    auto const check = [&](auto const& error) {
        EXPECT_EQ(error.getObjectInvovled(), product);
        EXPECT_EQ(error.getInputName(), "x");
        EXPECT_STREQ(error.what(), "The request setting does not exist.");
    };
    std::vector<std::function<void(std::string const&)>> const reads = {
        [&](auto const& name) { product->getAny(name, ""); },
        [&](auto const& name) { product->getAny(name, "nonsense"); },
        [&](auto const& name) { product->isSet(name, "user"); },
        [&](auto const& name) { product->getDataTypeIndex(name); },
        [&](auto const& name) { product->getAnyMetaData(name); },
        [&](auto const& name) { product->unset(name, "user"); },
        [&](auto const& name) { product->setAny(name, 1, "nonsense"); },
        [&](auto const& name) { product->setAny(name, 1, "factory"); },
        [&](auto const& name) { product->validateAny(name, 1); },
        [&](auto const& name) { product->removeKey(name); },
    };
    for (std::size_t i = 0; i < reads.size(); ++i) {
        SCOPED_TRACE(i);
        expectThrow<exception::NoSuchKey>([&] { reads[i]("x"); }, check);
    }
    for (std::size_t i : {0, 2, 3, 5, 8, 9}) {
        SCOPED_TRACE(i);
        expectThrow<exception::NotAKeyName>([&] { reads[i]("g"); },
                                            [&](auto const& error) {
                                                EXPECT_EQ(error.getObjectInvovled(), product);
                                                EXPECT_EQ(error.getInputName(), "g");
                                            });
    }
    EXPECT_THROW(product->getAny("g", "nonsense"), exception::UnSupportedLevel);
    EXPECT_THROW(product->setAny("g", 1, "user"), exception::NotAKeyName);
    EXPECT_THROW(product->getAny("k", "nonsense"), exception::UnSupportedLevel);
    EXPECT_THROW(at("p.k")->getAnyValueInternal("nonsense", true), exception::UnSupportedLevel);
    EXPECT_THROW(product->isUndefined(), exception::NotAKeyName);
    EXPECT_TRUE(product->getAnyMetaData("g").empty());
    Node const standalone = makeGroup("g");
    expectThrow<exception::NotAKeyName>(
        [&] { standalone->getAnyValueInternal("", true); },
        [](auto const& error) { EXPECT_FALSE(error.getObjectInvovled()); });
}

// --- Sets ---------------------------------------------------------------------------------------

TEST_F(ValuesTest, ARefusedSetChangesNothing) {
    Node const product = at("p");
    at("p.g.k")->setMetaData(SettingsKeyMetaData<any>(0, 5, {}));
    at("p.g.k")->setValidator(CValidator("checks", "refuse"));
    product->setAny("k", 2, "user");
    struct Case {
        char const* group;
        char const* key;
        any value;
        char const* level;
        char const* what;
    };
    char const* const typeError = "a text of the catalogue";
    auto const files = userFiles();
    Heard heard(root());
    // The checks come in the order of the rows: each row passes those before it.
    for (
        Case const& c : std::vector<Case>{
            {"p", "x", 'c', "nonsense", "The request setting does not exist."},
            {"p", "g", 'c', "", "The level specified is not a supported level."},
            {"p", "g", 'c', "User", "The level specified is not a supported level."},
            {"p", "g", 'c', "factory", "The Settings file on the give level is read-only"},
            {"p", "g", 'c', "user",
             "The input name is a sub node name under the parent node. It is not a settings name."},
            {"p", "fixed", 'c', "user", "The setting is read-only, cannot change its value."},
            {"p", "k", 'c', "user",
             "The type of the value passed in is not on the supported list."},
            {"p", "k", 1L, "user", "The type of the value passed in is not on the supported list."},
            {"p", "k", std::string("1"), "user",
             "The type of the value passed in is not on the supported list."},
            {"p.g", "k", 2.0, "user", typeError},
            {"p.g", "k", std::vector<int>{9, 9}, "user", typeError},
            {"p.g", "k", any(), "user", typeError},
            {"p.g", "k", std::vector<int>{9}, "user",
             "The value passed in is not in the predefined range"},
            {"p.g", "k", 5, "user", "Exception thrown by the validation function."},
        }) {
        SCOPED_TRACE(std::string(c.group) + "." + c.key + " " + c.value.type().name());
        for (bool const store : {true, false}) {
            if (!store && std::string(c.level) != "user") continue;
            try {
                if (store) {
                    at(c.group)->setAny(c.key, c.value, c.level);
                } else {
                    at(c.group)->validateAny(c.key, c.value);
                }
                ADD_FAILURE() << "accepted";
            } catch (qf::except::IMsgIDException const&) {
                EXPECT_EQ(c.what, typeError);
            } catch (std::exception const& error) {
                EXPECT_STREQ(error.what(), c.what);
            }
        }
    }
    EXPECT_EQ(heard.take(), Texts());
    EXPECT_EQ(userFiles(), files);
    EXPECT_EQ(shown(product->getAny("k", "")), "2");
    EXPECT_EQ(shown(product->getAny("fixed", "")), "4");
    EXPECT_EQ(shown(at("p.g")->getAny("k", "")), "1");
}

TEST_F(ValuesTest, RefusalsCarryTheirData) {
    Node const product = at("p");
    expectThrow<exception::CantModifyValuesOnReadOnlyLevel>(
        [&] { product->setAny("k", 1, "factory"); },
        [&](auto const& error) {
            EXPECT_EQ(error.getObjectInvovled(), product);
            EXPECT_EQ(error.getLevelToModify(), "factory");
        });
    expectThrow<exception::CannotChangeValueForReadOnlySetting>(
        [&] { product->setAny("fixed", 1, "user"); },
        [&](auto const& error) { EXPECT_EQ(error.getCausingObject(), at("p.fixed")); });
    expectThrow<exception::UnsupportedType>([&] { product->setAny("k", 1L, "user"); },
                                            [&](auto const& error) {
                                                EXPECT_EQ(error.getCausingObject(), at("p.k"));
                                                EXPECT_EQ(error.getErrorCode(), 1);
                                                EXPECT_EQ(error.getTypeName(), "long");
                                            });
    expectThrow<exception::DataArraySizeOutOfRange>(
        [&] {
            at("p.free")->setValueArraySizeValidator(ValueArraySizeValidator(at("p.free"), 3, 2));
            product->setAny("free", std::vector<int>{1, 2, 3, 4}, "user");
        },
        [&](auto const& error) {
            EXPECT_EQ(error.getCausingObject(), at("p.free"));
            EXPECT_EQ(error.getMinArraySize(), 2u);
            EXPECT_EQ(error.getMaxArraySize(), 3u);
            EXPECT_EQ(error.getActualArraySize(), 4u);
        });
    Node const group = at("p.locked");
    expectThrow<exception::CannotAddRemoveNodeUnderReadOnlyParent>(
        [&] { group->unset("k", "user"); },
        [&](auto const& error) {
            EXPECT_EQ(error.getChildObject(), at("p.locked.k"));
            EXPECT_EQ(error.getParentObject(), group);
        });
    expectThrow<exception::ValueNotDefinedForGivenLevel>(
        [&] { product->unset("k", "session"); },
        [&](auto const& error) {
            EXPECT_EQ(error.getObjectInvovled(), at("p.k"));
            EXPECT_EQ(error.getInputLevel(), "session");
            EXPECT_STREQ(error.what(),
                         "No value is not defined for this setting on the given level");
        });
    expectThrow<exception::UnSupportedLevel>(
        [&] { product->unset("k", ""); },
        [&](auto const& error) { EXPECT_EQ(error.getObjectInvovled(), product); });
    EXPECT_THROW(product->unset("x", "factory"), exception::CantModifyValuesOnReadOnlyLevel);
}

TEST_F(ValuesTest, AChangeTellsAndSavesWhereItIsSeen) {
    struct Step {
        char const* what;
        std::function<void(Settings&)> change;
        Texts events;
        Texts saves;
        char const* inForce;
    };
    noteSaves();
    Heard heard(root());
    Node const product = at("p");
    auto const set = [](any const& value, char const* level) {
        return [=](Settings& p) { p.setAny("k", value, level); };
    };
    auto const unset = [](char const* level) { return [=](Settings& p) { p.unset("k", level); }; };
    for (Step const& step : std::vector<Step>{
             {"above the factory value", set(2, "user"), {"value k"}, {"user:k"}, "2"},
             {"the value that is there", set(2, "user"), {}, {}, "2"},
             {"the same in an array of one", set(std::vector<int>{2}, "user"), {}, {}, "2"},
             {"above the user value", set(3, "session"), {"value k"}, {"session:k"}, "3"},
             {"below the session value", set(4, "user"), {}, {"user:k"}, "3"},
             {"equal to the one below", set(4, "session"), {"value k"}, {"session:k"}, "4"},
             {"the upper of two equal ones", unset("session"), {}, {"session:p"}, "4"},
             {"the factory value again", unset("user"), {"value k"}, {"user:p"}, "1"},
             {"equal to the factory value", set(1, "user"), {}, {"user:k"}, "1"},
             {"below an equal one", unset("user"), {}, {"user:p"}, "1"},
         }) {
        SCOPED_TRACE(step.what);
        step.change(*product);
        EXPECT_EQ(heard.take(), step.events);
        EXPECT_EQ(takeSaves(), step.saves);
        EXPECT_EQ(shown(product->getAny("k", "")), step.inForce);
    }
}

TEST_F(ValuesTest, TheFileFollowsMemoryAndTheSessionStaysOut) {
    Node const product = at("p");
    product->setAny("k", 9, "session");
    EXPECT_EQ(userFiles(), (std::map<std::string, std::string>()));
    std::string before = "not told";
    auto const connection =
        product->addListener<SettingsValueChangeEvent>([&](SettingsValueChangeEvent const& event) {
            EXPECT_EQ(event.getObj(), at("p.g.k"));
            EXPECT_EQ(event.getZcrId(), BlessedZcrID);
            EXPECT_EQ(shown(at("p.g")->getAny("k", "")), "2") << "memory first";
            before = userFileExists("p") ? "file" : "no file";
        });
    at("p.g")->setAny("k", 2, "user");
    EXPECT_EQ(before, "no file") << "the event comes before the save";
    std::string const saved = readUserFile("p");
    EXPECT_NE(saved.find("<value>2</value>"), std::string::npos) << saved;
    EXPECT_EQ(saved.find("<value>9</value>"), std::string::npos) << saved;
    freshRoot();
    EXPECT_EQ(shown(at("p")->getAny("k", "")), "1");
    EXPECT_EQ(shown(at("p.g")->getAny("k", "user")), "2");
    EXPECT_EQ(readUserFile("p"), saved) << "a load writes nothing";
}

TEST_F(ValuesTest, AFailedSaveLeavesTheChangeInMemory) {
    Node const product = at("p");
    product->setAny("k", 2, "user");
    auto const files = userFiles();
    Heard heard(root());
    SettingsImpl::setSaveFunc([](auto const*, auto const&, auto const&) {
        throw std::runtime_error("the disk is full");
    });
    EXPECT_THROW(product->setAny("k", 3, "user"), std::runtime_error);
    EXPECT_EQ(shown(product->getAny("k", "user")), "3");
    EXPECT_THROW(product->unset("k", "user"), std::runtime_error);
    EXPECT_EQ(shown(product->getAny("k", "user")), "-");
    SettingsImpl::setSaveFunc({});
    EXPECT_THROW(product->setAny("k", 5, "user"), boost::bad_function_call);
    EXPECT_EQ(shown(product->getAny("k", "user")), "5");
    EXPECT_EQ(heard.take(), (Texts{"value k", "value k", "value k"}));
    EXPECT_EQ(userFiles(), files);
}

TEST_F(ValuesTest, OffTheTreeNothingIsSavedAndNoFlagRefuses) {
    noteSaves();
    Node const group = boost::make_shared<SettingsImpl>("g", false, true, Validator(),
                                                        boost::logic::tribool(true), Node());
    Node const key = boost::make_shared<SettingsImpl>("k", true, true, Validator(),
                                                      boost::logic::tribool(true), Node());
    key->setParentInternal(group);
    group->setAny("k", 1, "user");
    group->setAny("k", 2, "session");
    EXPECT_EQ(shown(group->getAny("k", "")), "2");
    group->unset("k", "session");
    EXPECT_EQ(shown(group->getAny("k", "")), "1");
    EXPECT_EQ(takeSaves(), Texts());
}

TEST_F(ValuesTest, AReadOnlyGroupRefusesUnsetAndAReadOnlyKeyRefusesSet) {
    at("p.locked")->setAny("k", 2, "user");
    EXPECT_THROW(at("p.locked")->unset("k", "user"),
                 exception::CannotAddRemoveNodeUnderReadOnlyParent);
    userFile("p", intKey("fixed", "6"));
    freshRoot();
    EXPECT_THROW(at("p")->setAny("fixed", 5, "user"),
                 exception::CannotChangeValueForReadOnlySetting);
    EXPECT_EQ(shown(at("p")->getAny("fixed", "")), "6");
    at("p")->unset("fixed", "user");
    EXPECT_EQ(shown(at("p")->getAny("fixed", "")), "4");
}

// --- Rules of a first value ---------------------------------------------------------------------

TEST_F(ValuesTest, TheFirstValueSettlesAKeyEvenIfItIsRefused) {
    Node const group = makeGroup("g");
    Node const key = makeKey("k", group);
    EXPECT_FALSE(group->getDataTypeIndex("k"));
    key->setValidator(CValidator("checks", "refuse"));
    EXPECT_THROW(group->setAny("k", 5, "user"), exception::ExceptionFromValidationFunction);
    EXPECT_EQ(group->getDataTypeIndex("k"), 7ul);
    EXPECT_FALSE(group->isSet("k", ""));
    key->setValidator(Validator());
    using TypeMismatch = qf::except::Exception<ZENBAR::settings::core::DataTypeNotMatch>;
    EXPECT_THROW(group->setAny("k", 2.5, "user"), TypeMismatch);
    group->setAny("k", std::vector<int>{8}, "user");
    EXPECT_EQ(shown(group->getAny("k", "user")), "8") << "stored in the shape of the key";

    makeKey("other", group);
    group->validateAny("other", 2.5);
    EXPECT_EQ(group->getDataTypeIndex("other"), 12ul);
    EXPECT_TRUE(makeKey("typed", group)->isUndefined());
}

TEST_F(ValuesTest, AnAnyTypedKeyIsHeldToSizeAndRangeAlone) {
    Node const product = at("p");
    EXPECT_EQ(product->getDataTypeIndex("free"), SettingsImpl::anyTypeIndex);
    product->setAny("free", 5, "session");
    product->setAny("free", 2.5, "session");
    EXPECT_EQ(shown(product->getAny("free", "")), "2.5");
    at("p.free")->setMetaData(SettingsKeyMetaData<any>({}, 3.0, {}));
    EXPECT_THROW(product->setAny("free", 4.0, "session"), exception::ValueIsNotInRange);
    EXPECT_THROW(product->setAny("free", std::vector<double>{1, 2}, "session"),
                 exception::DataArraySizeOutOfRange);
}

// --- Defaults behind a value --------------------------------------------------------------------

TEST_F(ValuesTest, AValueEqualToTheDefaultOfItsLevelIsNotStored) {
    Node const product = at("p");
    at("p.computed")->setRunTimeDefault(giving("giveDouble", "user"));
    noteSaves();
    product->setAny("computed", 2.5, "user");
    EXPECT_EQ(takeSaves(), Texts());
    EXPECT_THROW(product->unset("computed", "user"), exception::ValueNotDefinedForGivenLevel);
    product->setAny("computed", 2.5, "session");
    EXPECT_EQ(takeSaves(), Texts{"session:computed"});
}

TEST_F(ValuesTest, ASetAboveADefaultThatFails) {
    Node const product = at("p");
    Heard heard(root());
    noteSaves();
    // Its result is of another type, which is a message of the catalogue: dropped on purpose.
    at("p.empty")->setRunTimeDefault(giving("giveDouble", "factory"));
    product->setAny("empty", 5, "user");
    EXPECT_TRUE(product->getAny("empty", "user").empty());
    // Any other failure reaches the caller.
    at("p.empty")->setRunTimeDefault(giving("fail", "factory"));
    EXPECT_THROW(product->setAny("empty", 5, "user"), exception::RunTimeFuncInvokingError);
    EXPECT_TRUE(product->getAny("empty", "user").empty());
    EXPECT_EQ(heard.take(), Texts());
    EXPECT_EQ(takeSaves(), Texts());
}

// --- Levels that a change of the structure touches
// ------------------------------------------------

TEST_F(ValuesTest, LevelsToUpdate) {
    auto const names = [](Node const& node) {
        detail::SharedTreeLock const lock;
        Texts result;
        for (SettingsLevel const* level : node->getLevelToUpdate(lock, false)) {
            result.push_back(level->levelName());
        }
        return result;
    };
    Node const group = makeGroup("g");
    makeKey("k", group);
    EXPECT_EQ(names(group), Texts{"user"});
    group->setAny("k", 1, "session");
    EXPECT_EQ(names(group), Texts{"user"});
    EXPECT_EQ(names(at("p")), (Texts{"factory", "user"}));
    EXPECT_EQ(names(at("p.empty")), Texts{"user"});
    detail::SharedTreeLock const lock;
    expectThrow<exception::NoFileWritePermissionOnMultipleLevels>(
        [&] { at("p.g")->getLevelToUpdate(lock, true); },
        [&](auto const& error) {
            EXPECT_EQ(error.getObjectInvovled(), at("p.g"));
            EXPECT_EQ(error.getLevelNeedToBeUpdated(), "factory, user");
            EXPECT_EQ(error.getLevelsHasWritenPermissionOn(), "user");
        });
}

// --- Threads
// --------------------------------------------------------------------------------------

TEST_F(ValuesTest, ReadersAndWritersWithChecksThatRead) {
    TimeLimit const limit;
    Node const product = at("p");
    Node const group = at("p.g");
    group->setValidator(ZValidator("p", "f"));
    ScriptedValidators const scripts(
        [](std::string const&, ScriptedValidators::Parent const& parent, auto const&, any const&) {
            EXPECT_TRUE(parent->isSet("k", ""));
            EXPECT_EQ(parent->getFullName(), "p.g");
            EXPECT_TRUE(parent->getParent()->isSet("k", "factory"));
        });
    std::atomic<int> events{0};
    auto const connection =
        group->addListener(boost::function<void(SettingsEvent const&)>([&](SettingsEvent const&) {
            group->getAny("k", "");
            ++events;
        }));
    int const rounds = 60;
    onThreads(4, [&](int thread) {
        for (int i = 1; i <= rounds; ++i) {
            if (thread == 0) {
                group->setAny("k", 1 + i, "session");
            } else if (thread == 1) {
                group->setAny("k", 1000 + i % 2, "user");
            } else if (thread == 2) {
                product->setAny("k", i, "session");
                product->unset("k", "session");
            } else {
                boost::shared_lock<boost::shared_mutex> const reader(*Settings::getTheRootMutex());
                std::string const first = shown(group->getAny("k", ""));
                EXPECT_EQ(shown(group->getAny("k", "")), first) << "held shared, nothing changes";
                group->isReadOnly();
                group->isConnectedToTheSettingsTree();
            }
        }
    });
    EXPECT_EQ(shown(group->getAny("k", "")), std::to_string(1 + rounds));
    EXPECT_GE(events, rounds) << "one for each set of the upper level";
    freshRoot();
    EXPECT_EQ(shown(at("p.g")->getAny("k", "user")), "1000") << "the last save won";
}

TEST_F(ValuesTest, ReadersWithoutAGapLetAWriterThrough) {
    TimeLimit const limit;
    Node const product = at("p");
    std::atomic<bool> over{false};
    std::atomic<long> reads{0};
    onThreads(4, [&](int thread) {
        if (thread == 0) {
            while (reads == 0)
                std::this_thread::yield();
            for (int i = 0; i < 50; ++i)
                product->setAny("k", i + 2, "session");
            over = true;
            return;
        }
        while (!over) {
            product->getAny("k", "");
            ++reads;
        }
    });
    EXPECT_EQ(shown(product->getAny("k", "")), "51");
}

TEST_F(ValuesTest, OfTwoFirstValuesOneSettlesAKeyWhole) {
    TimeLimit const limit;
    qbhost::setSignalThread([] { return true; });
    static thread_local int kind;
    ZRunTimeDefault::setZRunTimeProxyFname([](auto const&, auto const&, any* result) {
        *result = kind == 0 ? any(1) : any(std::vector<double>{1, 2, 3});
    });
    for (int round = 0; round < 100; ++round) {
        Node const group = makeGroup("g");
        Node const key = makeKey("k", group);
        key->setRunTimeDefault(ZRunTimeDefault("p", "f"));
        std::atomic<int> ready{0};
        onThreads(2, [&](int thread) {
            kind = thread;
            ++ready;
            while (ready < 2)
                std::this_thread::yield();
            try {
                group->getAny("k", "");
            } catch (qf::except::IException const&) {
                // The other type came first.
            }
        });
        bool const isInt = group->getDataTypeIndex("k") == 7ul;
        ASSERT_EQ(key->getValueArraySizeValidator()->maxArrSize(), isInt ? 1u : 3u);
        group->setAny("k", isInt ? any(5) : any(std::vector<double>{1}), "user");
    }
    ZRunTimeDefault::setZRunTimeProxyFname({});
    qbhost::setSignalThread({});
}

}  // namespace
