#include <atomic>
#include <map>
#include <string>
#include <vector>

#include <settingscore/host/Filesystem.hpp>

#include "TreeWorld.hpp"

using namespace settings::core;
using namespace qbtest;
using boost::any;

namespace {

/// The product `shipped` has factory files, `mine` is the user's own.
class EditsTest : public TreeWorld {
protected:
    EditsTest() {
        factoryFile("shipped", "shipped.settings",
                    intKey("k", "1") + "<settings name=\"g\" visible=\"true\">" +
                        intKey("inner", "1") +
                        "</settings><settings name=\"locked\" readonly=\"true\">" +
                        intKey("k", "1") + "</settings>");
        userFile("mine", intKey("k", "1") + "<settings name=\"g\" visible=\"true\">" +
                             intKey("inner", "1") + "</settings>");
    }
    static Texts childNames(boost::shared_ptr<Settings> const& node) {
        Texts names;
        for (auto const& child : node->getChildren())
            names.push_back(child->getName());
        return names;
    }
    /// A group with the key `k`, which has the value 5.
    static Node groupWithValue(std::string const& name) {
        Node const group = makeGroup(name);
        makeKey("k", group);
        group->setAny("k", 5, "user");
        return group;
    }
    /// Everything that an edit could change.
    struct World {
        std::map<std::string, std::string> files;
        std::vector<Texts> children;
        bool operator==(World const& other) const {
            return files == other.files && children == other.children;
        }
    };
    World world() const {
        World result{userFiles(), {childNames(root())}};
        for (char const* path : {"shipped", "shipped.g", "shipped.locked", "mine", "mine.g"}) {
            result.children.push_back(childNames(at(path)));
        }
        return result;
    }
};

// --- Attaching
// ------------------------------------------------------------------------------------

TEST_F(EditsTest, ARefusedNodeStaysWhereItWas) {
    at("mine.g")->setValidator(CValidator("checks", "refuseWithNames"));
    World const before = world();
    Heard heard(root());
    Node const group = groupWithValue("new");
    Node const key = makeKey("k");
    auto const check = [&](Node const& node, Node const& parent, auto const& look) {
        SCOPED_TRACE(node->getName() + " below " + parent->getName());
        Node const oldParent = node->getParentImpl();
        look([&] { node->setParent(parent); });
        EXPECT_EQ(node->getParentImpl(), oldParent);
        EXPECT_TRUE(world() == before);
        EXPECT_EQ(heard.take(), Texts());
    };
    check(group, at("shipped.locked"), [&](auto const& action) {
        expectThrow<exception::CannotAddRemoveNodeUnderReadOnlyParent>(
            action, [&](auto const& error) {
                EXPECT_EQ(error.getChildObject(), group);
                EXPECT_EQ(error.getParentObject(), at("shipped.locked"));
            });
    });
    check(key, implRoot(), [&](auto const& action) {
        expectThrow<exception::CanNotAddKeyToRootException>(
            action, [&](auto const& error) { EXPECT_EQ(error.getCausingObject(), key); });
    });
    check(makeGroup("MINE"), implRoot(), [&](auto const& action) {
        expectThrow<exception::ErrorAddingTopLevelNode>(action, [](auto const& error) {
            EXPECT_EQ(error.getProductNamePassedIn(), "MINE");
            EXPECT_EQ(error.getExistingProductName(), "mine");
        });
    });
    check(key, at("shipped"), [&](auto const& action) {
        expectThrow<exception::ErrorAddingChildNodeOrKey>(action, [](auto const& error) {
            EXPECT_EQ(error.getExistingNodeKeyName(), "k");
            EXPECT_EQ(error.getObjectInvovled(), at("shipped"));
        });
    });
    check(group, at("mine.g"), [&](auto const& action) {
        expectThrow<exception::ExceptionFromValidationFunction>(action, [](auto const& error) {
            EXPECT_EQ(error.getErrorMsg(), u"new/k");
            EXPECT_EQ(boost::any_cast<int>(error.getValue()), 5);
        });
    });
    check(group, group, [&](auto const& action) { EXPECT_THROW(action(), std::invalid_argument); });
    Node const below = makeGroup("below", group);
    check(group, below, [&](auto const& action) { EXPECT_THROW(action(), std::invalid_argument); });
    group->setParent(boost::shared_ptr<Settings>());
    EXPECT_FALSE(group->getParent()) << "no parent, no effect";
}

TEST_F(EditsTest, ABranchArrivesAsAWholeAndIsSaved) {
    noteSaves();
    Heard everything(root());
    Heard above(at("mine"));
    Heard below(at("mine.g"));
    groupWithValue("new")->setParent(at("mine.g"));
    EXPECT_EQ(everything.take(), Texts{"add new to g"}) << "one event for the branch";
    EXPECT_EQ(above.take(), Texts{"add new to g"});
    EXPECT_EQ(below.take(), Texts{"add new to g"});
    EXPECT_EQ(takeSaves(), Texts{"user:new"});
    turnOnSettingsSaving();
    makeKey("another")->setParent(at("mine"));
    EXPECT_EQ(below.take(), Texts());
    std::string const file = readUserFile("mine");
    freshRoot();
    EXPECT_EQ(shown(at("mine.g.new")->getAny("k", "user")), "5");
    EXPECT_TRUE(at("mine")->getChild("another"));
    at("mine")->setAny("k", 2, "user");
    at("mine")->setAny("k", 1, "user");
    EXPECT_EQ(readUserFile("mine"), file) << "written, read and written again it is the same";
}

TEST_F(EditsTest, NamesDifferByCaseBelowAProductOnly) {
    attachedKey("K", at("mine"), 2);
    makeGroup("k")->setParent(at("mine.g"));
    EXPECT_EQ(childNames(at("mine")), (Texts{"K", "g", "k"}));
    EXPECT_EQ(shown(at("mine")->getAny("k", "")), "1");
    EXPECT_EQ(shown(at("mine")->getAny("K", "")), "2");
    Node const standalone = makeGroup("top");
    makeGroup("a", standalone);
    makeGroup("A", standalone);
    EXPECT_THROW(makeKey("a")->setParent(standalone), exception::ErrorAddingChildNodeOrKey);
    EXPECT_EQ(childNames(standalone), (Texts{"A", "a"}));
}

TEST_F(EditsTest, AProductMadeInMemoryIsNotReplacedByAFileOfItsName) {
    root();
    turnOffSettingsSaving();  // A save would put the product's own content into the file.
    userFile("late", intKey("fromFile", "1"));
    Node const product = groupWithValue("late");
    Node const untouched = boost::make_shared<SettingsImpl>("later", false, true);
    userFile("later", intKey("fromFile", "1"));
    product->setParent(implRoot());
    untouched->setParent(implRoot());
    EXPECT_EQ(childNames(at("late")), Texts{"k"});
    EXPECT_EQ(childNames(at("later")), Texts());
    EXPECT_TRUE(product->isTopLevelNode());
    EXPECT_EQ(childNames(root()), (Texts{"late", "later", "mine", "shipped"}));
}

TEST_F(EditsTest, StoredValuesComeUnderTheValidatorsOfTheNewPlace) {
    Texts judged;
    ScriptedValidators const scripts([&](std::string const& name,
                                         ScriptedValidators::Parent const& parent,
                                         std::string const& key, any const& value) {
        judged.push_back(name + ":" + (parent ? parent->getName() : "") + "/" + key + "=" +
                         shown(value));
    });
    at("mine")->setValidator(ZValidator("p", "outer"));
    Node const branch = makeGroup("branch");
    Node const plain = makeGroup("plain", branch);
    Node const own = makeGroup("own", branch);
    Node const key = makeKey("judgesItself", branch);
    makeKey("k", branch);
    makeKey("k", plain);
    makeKey("k", own);
    makeKey("empty", plain);
    branch->setAny("k", 1, "user");
    branch->setAny("k", 2, "session");
    branch->setAny("judgesItself", 3, "user");
    plain->setAny("k", 4, "user");
    own->setAny("k", 5, "user");
    own->setValidator(ZValidator("p", "inner"));
    key->setValidator(ZValidator("p", "itself"));
    branch->setParent(at("mine.g"));
    EXPECT_EQ(judged, (Texts{"outer:branch/k=2", "outer:branch/k=1", "outer:plain/k=4"}))
        << "levels in the order of their names; a validator of one's own is not overruled";
    judged.clear();
    own->setAny("k", 6, "user");
    branch->setAny("judgesItself", 7, "user");
    plain->setAny("k", 8, "user");
    EXPECT_EQ(judged, (Texts{"inner:own/k=6", "itself:branch/judgesItself=7", "outer:plain/k=8"}));
}

// --- Removing
// -------------------------------------------------------------------------------------

TEST_F(EditsTest, ARefusedRemovalChangesNothing) {
    World const before = world();
    Heard heard(root());
    auto const check = [&](auto const& test) {
        test();
        EXPECT_TRUE(world() == before);
        EXPECT_EQ(heard.take(), Texts());
    };
    auto const named = [&](char const* parent, char const* name) {
        return [=](auto const& error) {
            EXPECT_EQ(error.getObjectInvovled(), at(parent));
            EXPECT_EQ(error.getInputName(), name);
        };
    };
    check([&] {
        expectThrow<exception::NoSuchKey>([] { at("mine")->removeKey("x"); }, named("mine", "x"));
    });
    check([&] {
        expectThrow<exception::NoSuchNode>([] { at("mine")->removeNode("x"); }, named("mine", "x"));
    });
    check([&] {
        expectThrow<exception::NotAKeyName>([] { at("mine")->removeKey("g"); }, named("mine", "g"));
    });
    check([&] {
        expectThrow<exception::NotANodeName>([] { at("mine")->removeNode("k"); },
                                             named("mine", "k"));
    });
    check([&] {
        expectThrow<exception::CannotAddRemoveNodeUnderReadOnlyParent>(
            [] { at("shipped.locked")->removeKey("k"); },
            [](auto const& error) {
                EXPECT_EQ(error.getChildObject(), at("shipped.locked.k"));
                EXPECT_EQ(error.getParentObject(), at("shipped.locked"));
            });
    });
    for (std::string const name : {"shipped", "shipped.g"}) {
        check([&] {
            expectThrow<exception::NoFileWritePermissionOnMultipleLevels>(
                [&] { at(name)->getParentImpl()->removeNode(at(name)->getName()); },
                [&](auto const& error) {
                    EXPECT_EQ(error.getObjectInvovled(), at(name));
                    EXPECT_EQ(error.getLevelNeedToBeUpdated(), "factory, user");
                    EXPECT_EQ(error.getLevelsHasWritenPermissionOn(), "user");
                });
        });
    }
}

TEST_F(EditsTest, AnUntouchedProductWithFactoryValuesCannotBeRemoved) {
    userFile("shipped", intKey("k", "3"));
    EXPECT_THROW(implRoot()->removeNode("shipped"),
                 exception::NoFileWritePermissionOnMultipleLevels);
    EXPECT_TRUE(userFileExists("shipped"));
    EXPECT_EQ(shown(at("shipped")->getAny("k", "")), "3");
}

TEST_F(EditsTest, RemovingRewritesOrDeletesTheFileAndTheBranchLivesOn) {
    userFile("other", intKey("k", "1"));
    Heard heard(root());
    std::string const other = readUserFile("other");
    attachedKey("temporary", at("mine"));
    std::string const whole = readUserFile("mine");
    attachedKey("doomed", at("mine"), 4);
    at("mine")->removeKey("doomed");
    EXPECT_EQ(readUserFile("mine"), whole);
    heard.take();
    auto const pending =
        at("mine")->addListener<SettingsRemoveNodeEvent>([&](SettingsRemoveNodeEvent const& event) {
            EXPECT_EQ(shown(event.getObj()->getAny("inner", "user")), "1");
            EXPECT_FALSE(event.getObj()->getParent());
            EXPECT_EQ(readUserFile("mine"), whole) << "the event comes before the save";
        });
    noteSaves();
    Node const branch = at("mine.g");
    at("mine")->removeNode("g");
    EXPECT_EQ(heard.take(), Texts{"remove g from mine"});
    EXPECT_EQ(takeSaves(), Texts{"user:mine"});
    EXPECT_TRUE(branch->isOrphanRoot());
    EXPECT_EQ(branch->getZcrID(), UndefinedZcrID);
    EXPECT_EQ(shown(branch->getAny("inner", "")), "1");
    branch->setAny("inner", 2, "user");
    branch->setParent(at("mine"));
    EXPECT_EQ(heard.take(), Texts{"add g to mine"}) << "and nothing of the set in between";
    turnOnSettingsSaving();

    Node const product = at("mine");
    implRoot()->removeNode("mine");
    EXPECT_EQ(heard.take(), Texts{"remove mine from root"});
    EXPECT_EQ(userFiles(), (std::map<std::string, std::string>{{"other.settings", other}}));
    EXPECT_EQ(childNames(root()), (Texts{"other", "shipped"}));
    product->setAny("k", 7, "user");
    EXPECT_FALSE(userFileExists("mine"));
    product->setParent(implRoot());
    EXPECT_TRUE(userFileExists("mine"));
    freshRoot();
    EXPECT_EQ(shown(at("mine")->getAny("k", "")), "7");
    EXPECT_EQ(shown(at("mine.g")->getAny("inner", "")), "2");
}

TEST_F(EditsTest, OffTheTreeAReadOnlyParentRefusesNothing) {
    noteSaves();
    Node const top = boost::make_shared<SettingsImpl>("top", false, true, Validator(),
                                                      boost::logic::tribool(true), Node());
    Node const group = groupWithValue("g");
    group->setParent(top);
    makeKey("k")->setParent(top);
    EXPECT_EQ(childNames(top), (Texts{"g", "k"}));
    top->removeNode("g");
    top->removeKey("k");
    EXPECT_EQ(childNames(top), Texts());
    EXPECT_FALSE(group->getParent());
    EXPECT_EQ(takeSaves(), Texts());
}

TEST_F(EditsTest, AFailedSaveLeavesTreeAndEventStanding) {
    World const before = world();
    Heard heard(root());
    SettingsImpl::setSaveFunc([](auto const*, auto const&, auto const&) {
        throw std::runtime_error("the disk is full");
    });
    EXPECT_THROW(groupWithValue("new")->setParent(at("mine")), std::runtime_error);
    EXPECT_EQ(childNames(at("mine")), (Texts{"g", "k", "new"}));
    EXPECT_THROW(at("mine")->removeNode("new"), std::runtime_error);
    EXPECT_EQ(heard.take(), (Texts{"add new to mine", "remove new from mine"}));
    EXPECT_TRUE(world() == before);
    turnOnSettingsSaving();

    std::filesystem::remove(userFilePath("mine"));
    writeFile(userFilePath("mine") / "in the way", "");
    EXPECT_THROW(implRoot()->removeNode("mine"), qf::filesystem::FsysExceptionBase);
    EXPECT_EQ(childNames(root()), Texts{"shipped"});
    EXPECT_EQ(heard.take(), Texts{"remove mine from root"});
}

TEST_F(EditsTest, ASuccessorOfTheSameNameIsNotRemovedInItsPlace) {
    Node const first = attachedKey("twin", at("mine"));
    at("mine")->removeKey("twin");
    Node const second = attachedKey("twin", at("mine"));
    Heard heard(root());
    at("mine")->removeNodeImpl(first);
    EXPECT_EQ(at("mine")->getChild("twin"), second);
    EXPECT_EQ(heard.take(), Texts());
}

// --- Threads
// --------------------------------------------------------------------------------------

TEST_F(EditsTest, OfManyRemoversOneRemoves) {
    TimeLimit const limit;
    Node const product = at("mine");
    Heard heard(root());
    for (int round = 0; round < 10; ++round) {
        attachedKey("doomed", product);
        heard.take();
        onThreads(4, [&](int) {
            try {
                product->removeKey("doomed");
            } catch (exception::NoSuchKey const&) {
                // Came too late.
            }
        });
        EXPECT_EQ(heard.take(), Texts{"remove doomed from mine"});
    }
}

TEST_F(EditsTest, OfManyNewcomersOfOneNameOneArrives) {
    TimeLimit const limit;
    Heard heard(root());
    std::atomic<int> arrived{0};
    onThreads(4, [&](int thread) {
        try {
            makeGroup(thread % 2 == 0 ? "twin" : "Twin")->setParent(implRoot());
            ++arrived;
        } catch (exception::ErrorAddingTopLevelNode const& error) {
            EXPECT_EQ(root()->getChild(error.getExistingProductName())->getParent(), root());
        }
    });
    EXPECT_EQ(arrived, 1);
    EXPECT_EQ(heard.take().size(), 1u);
    EXPECT_EQ(childNames(root()).size(), 3u);
}

TEST_F(EditsTest, AFirstTouchBesideTheAttachmentLoadsNothing) {
    TimeLimit const limit;
    turnOffSettingsSaving();
    for (int round = 0; round < 50; ++round) {
        std::string const name = "late" + std::to_string(round);
        root();
        userFile(name, intKey("fromFile", "1"));
        Node const group = makeGroup(name);
        std::atomic<int> ready{0};
        onThreads(2, [&](int thread) {
            ++ready;
            while (ready < 2)
                std::this_thread::yield();
            if (thread == 0) {
                group->setParent(implRoot());
            } else {
                group->getChildren();
            }
        });
        ASSERT_EQ(childNames(group), Texts());
    }
}

TEST_F(EditsTest, AddersRemoversAndReaders) {
    TimeLimit const limit;
    Node const product = at("mine");
    product->setValidator(ZValidator("p", "f"));
    ScriptedValidators const scripts(
        [&](auto const&, ScriptedValidators::Parent const& parent, auto const&, auto const&) {
            parent->getFullName();
            EXPECT_TRUE(product->isSet("k", ""));
        });
    auto const connection = root()->addListener<SettingsEvent>([](SettingsEvent const& event) {
        event.getObj()->getFullName();
        event.getObj()->getZcrID();
    });
    Node const moving = groupWithValue("moving");
    std::atomic<int> working{3};
    onThreads(5, [&](int thread) {
        for (int i = 0; thread < 2 && i < 25; ++i) {
            std::string const name = "n" + std::to_string(thread);
            groupWithValue(name)->setParent(product);
            product->removeNode(name);
        }
        for (int i = 0; thread == 2 && i < 25; ++i) {
            moving->setParent(product);
            moving->setAny("k", i, "user");
            product->removeNode("moving");
        }
        if (thread < 3) --working;
        while (thread >= 3 && working > 0) {
            for (auto const& child : product->getChildren()) {
                child->getParent();
                child->isReadOnly();
                child->getSettingsByFullName("k");
            }
            moving->isConnectedToTheSettingsTree();
            moving->isOrphanRoot();
            std::string const name = moving->getFullName();
            EXPECT_TRUE(name == "moving" || name == "mine.moving") << name;
            EXPECT_TRUE(moving->isSet("k", "user"));
        }
    });
    EXPECT_EQ(childNames(product), (Texts{"g", "k"}));
    freshRoot();
    EXPECT_EQ(childNames(at("mine")), (Texts{"g", "k"})) << "the last save told the last state";
}

}  // namespace
