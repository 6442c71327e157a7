#include <atomic>

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
        std::string const body = intKey("k", "1") + groupXml("g", intKey("inner", "1"));
        factoryFile("shipped", "shipped.settings",
                    body + "<settings name=\"locked\" readonly=\"true\">" + intKey("k", "1") +
                        "</settings>");
        userFile("mine", body);
    }
    /// A group with the key `k`, which has values.
    static Node groupWithValue(std::string const& name) {
        Node const group = makeGroup(name);
        makeKey("k", group);
        group->setAny("k", 5, "user");
        group->setAny("k", 5, "session");
        return group;
    }
    /// Everything that an edit could change.
    std::pair<std::map<std::string, std::string>, std::vector<Texts>> world() const {
        std::vector<Texts> children = {childNames(root())};
        for (char const* path : {"shipped", "shipped.g", "shipped.locked", "mine", "mine.g"})
            children.push_back(childNames(at(path)));
        return {userFiles(), children};
    }
};

TEST_F(EditsTest, ARefusedEditChangesNothing) {
    userFile("shipped", intKey("k", "3"));
    freshRoot();
    Heard heard(root());
    auto const removal = [](char const* parent, char const* name, bool isKey) {
        Node const node = *parent ? at(parent) : Node(implRoot());
        return ending([&] { isKey ? node->removeKey(name) : node->removeNode(name); });
    };
    // First, so that the product is not loaded yet.
    EXPECT_EQ(removal("", "shipped", false),
              "NoFileWritePermissionOnMultipleLevels(shipped, factory, user, user)");
    auto const before = world();
    at("mine.g")->setValidator(CValidator("checks", "refuseWithNames"));
    Node const group = groupWithValue("new");
    Node const below = makeGroup("below", group);
    Node const key = makeKey("k");
    auto const attaching = [](Node const& node, Node const& parent) {
        Node const oldParent = node->getParentImpl();
        std::string const refusal = ending([&] { node->setParent(parent); });
        EXPECT_EQ(node->getParentImpl(), oldParent) << refusal;
        return refusal;
    };
    EXPECT_EQ(attaching(group, at("shipped.locked")),
              "CannotAddRemoveNodeUnderReadOnlyParent(new, shipped.locked)");
    EXPECT_EQ(attaching(key, implRoot()), "CanNotAddKeyToRootException(k)");
    EXPECT_EQ(attaching(makeGroup("MINE"), implRoot()), "ErrorAddingTopLevelNode(MINE, mine)");
    EXPECT_EQ(attaching(key, at("shipped")), "ErrorAddingChildNodeOrKey(shipped, k)");
    EXPECT_EQ(attaching(group, at("mine.g")),
              "ExceptionFromValidationFunction(new, k, 5, refuseWithNames, checks, new/k)");
    EXPECT_THROW(attaching(group, group), std::invalid_argument);
    EXPECT_THROW(attaching(group, below), std::invalid_argument);
    EXPECT_EQ(attaching(group, {}), "done") << "no parent, no effect";
    EXPECT_EQ(removal("mine", "x", true), "NoSuchKey(mine, x)");
    EXPECT_EQ(removal("mine", "x", false), "NoSuchNode(mine, x)");
    EXPECT_EQ(removal("mine", "g", true), "NotAKeyName(mine, g)");
    EXPECT_EQ(removal("mine", "k", false), "NotANodeName(mine, k)");
    EXPECT_EQ(removal("shipped.locked", "k", true),
              "CannotAddRemoveNodeUnderReadOnlyParent(shipped.locked.k, shipped.locked)");
    EXPECT_EQ(removal("shipped", "g", false),
              "NoFileWritePermissionOnMultipleLevels(shipped.g, factory, user, user)");
    EXPECT_EQ(world(), before);
    EXPECT_EQ(heard.take(), Texts());
}

TEST_F(EditsTest, ABranchArrivesAsAWholeAndIsSaved) {
    noteSaves();
    Heard heard(root());
    groupWithValue("new")->setParent(at("mine.g"));
    EXPECT_EQ(heard.take(), Texts{"add new to g"}) << "one event for the branch";
    EXPECT_EQ(takeSaves(), Texts{"user:new"});
    turnOnSettingsSaving();
    // Names that differ by case alone are two names, except for products.
    makeKey("K")->setParent(at("mine"));
    at("mine")->setAny("K", 2, "user");
    std::string const file = readUserFile("mine");
    freshRoot();
    EXPECT_EQ(childNames(at("mine")), (Texts{"K", "g", "k"}));
    EXPECT_EQ(shown(at("mine.g.new")->getAny("k", "user")), "5");
    EXPECT_EQ(shown(at("mine")->getAny("k", "")), "1");
    at("mine")->setAny("k", 2, "user");
    at("mine")->setAny("k", 1, "user");
    EXPECT_EQ(readUserFile("mine"), file) << "written, read and written again it is the same";
}

TEST_F(EditsTest, StoredValuesComeUnderTheValidatorsOfTheNewPlace) {
    Texts judged;
    ScriptedValidators const scripts([&](std::string const& name, Parent const& parent,
                                         std::string const& key, any const& value) {
        judged.push_back(name + ":" + parent->getName() + "/" + key + "=" + shown(value));
    });
    at("mine")->setValidator(ZValidator("p", "outer"));
    Node const branch = groupWithValue("branch");
    Node const plain = groupWithValue("plain");
    Node const own = groupWithValue("own");
    plain->setParent(branch);
    own->setParent(branch);
    Node const key = makeKey("judgesItself", branch);
    branch->setAny("judgesItself", 3, "user");
    plain->setAny("k", 2, "session");
    own->setValidator(ZValidator("p", "inner"));
    key->setValidator(ZValidator("p", "itself"));
    branch->setParent(at("mine.g"));
    EXPECT_EQ(judged,
              (Texts{"outer:branch/k=5", "outer:branch/k=5", "outer:plain/k=2", "outer:plain/k=5"}))
        << "levels in the order of their names; a validator of one's own is not overruled";
    judged.clear();
    own->setAny("k", 6, "user");
    branch->setAny("judgesItself", 7, "user");
    plain->setAny("k", 8, "user");
    EXPECT_EQ(judged, (Texts{"inner:own/k=6", "itself:branch/judgesItself=7", "outer:plain/k=8"}));
}

TEST_F(EditsTest, RemovingRewritesOrDeletesTheFileAndTheBranchLivesOn) {
    userFile("other", intKey("k", "1"));
    std::string const other = readUserFile("other");
    Node const doomed = makeKey("doomed");
    doomed->setParent(at("mine"));
    std::string const whole = readUserFile("mine");
    at("mine")->setAny("k", 4, "user");
    at("mine")->removeKey("doomed");
    EXPECT_EQ(readUserFile("mine").find("doomed"), std::string::npos);
    // A successor of the same name is not removed in its place.
    makeKey("doomed")->setParent(at("mine"));
    at("mine")->removeNodeImpl(doomed);
    EXPECT_TRUE(at("mine")->getChild("doomed"));
    at("mine")->setAny("k", 1, "user");

    Heard heard(root());
    auto const connection =
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
    EXPECT_EQ(branch->getZcrID(), UndefinedZcrID);
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
    Heard heardAgain(freshRoot());
    EXPECT_EQ(shown(at("mine")->getAny("k", "")), "7");
    EXPECT_EQ(shown(at("mine.g")->getAny("inner", "")), "2");
    // A file that cannot be written or deleted leaves the tree changed.
    failSaves();
    EXPECT_THROW(makeGroup("new")->setParent(at("mine")), std::runtime_error);
    EXPECT_THROW(at("mine")->removeNode("new"), std::runtime_error);
    EXPECT_EQ(heardAgain.take(), (Texts{"add new to mine", "remove new from mine"}));
    std::filesystem::remove(userFilePath("mine"));
    writeFile(userFilePath("mine") / "in the way", "");
    EXPECT_THROW(implRoot()->removeNode("mine"), qf::filesystem::FsysExceptionBase);
    EXPECT_EQ(childNames(root()), (Texts{"other", "shipped"}));
}

TEST_F(EditsTest, OffTheTreeNoFlagRefusesAndNothingIsSaved) {
    noteSaves();
    auto const top = boost::make_shared<SettingsImpl>("t", false, true, Validator(), true, Node());
    auto const key = boost::make_shared<SettingsImpl>("K", true, true, Validator(), true, Node());
    groupWithValue("k")->setParent(top);
    key->setParent(top);
    EXPECT_EQ(ending([&] { makeKey("k")->setParent(top); }), "ErrorAddingChildNodeOrKey(t, k)");
    EXPECT_EQ(childNames(top), (Texts{"K", "k"}));
    top->setAny("K", 1, "user");
    top->unset("K", "user");
    top->removeNode("k");
    top->removeKey("K");
    EXPECT_EQ(childNames(top), Texts());
    EXPECT_FALSE(key->getParent());
    EXPECT_EQ(takeSaves(), Texts());
}

// --- Threads ------------------------------------------------------------------------------------

TEST_F(EditsTest, OfManyNewcomersOneArrivesAndOfManyRemoversOneRemoves) {
    Heard heard(root());
    for (int round = 0; round < 10; ++round) {
        std::atomic<int> arrived{0};
        concurrently(4, [&](int thread) {
            std::string const name = thread % 2 == 0 ? "twin" : "Twin";
            if (ending([&] { makeGroup(name)->setParent(implRoot()); }) == "done") ++arrived;
        });
        EXPECT_EQ(arrived, 1);
        std::string const name = childNames(root()).at(0) == "Twin" ? "Twin" : "twin";
        concurrently(4, [&](int) {
            std::string const end = ending([&] { implRoot()->removeNode(name); });
            EXPECT_TRUE(end == "done" || end == "NoSuchNode(root, " + name + ")") << end;
        });
        EXPECT_EQ(heard.take(),
                  (Texts{"add " + name + " to root", "remove " + name + " from root"}));
    }
}

TEST_F(EditsTest, AFirstTouchBesideTheAttachmentLoadsNothing) {
    turnOffSettingsSaving();  // A save would put the product's own content into the file.
    freshRoot();
    for (int round = 0; round < 50; ++round) {
        std::string const name = "late" + std::to_string(round);
        userFile(name, intKey("fromFile", "1"));
        Node const group = makeGroup(name);
        std::atomic<int> ready{0};
        concurrently(2, [&](int thread) {
            ++ready;
            while (ready < 2)
                std::this_thread::yield();
            thread == 0 ? group->setParent(implRoot()) : void(group->getChildren());
        });
        ASSERT_EQ(childNames(group), Texts()) << "what was made in memory is whole";
    }
}

}  // namespace
