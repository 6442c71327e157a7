#include <settingscore/host/Filesystem.hpp>
#include <support/CommaLocale.hpp>

#include "TreeWorld.hpp"

using namespace qbtest;

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
    static std::string attaching(Node const& node, Node const& parent) {
        Node const oldParent = node->getParentImpl();
        std::string const end = ending([&] { node->setParent(parent); });
        EXPECT_EQ(node->getParentImpl(), end == "done" && parent ? parent : oldParent) << end;
        return end;
    }
    /// Everything that an edit could change.
    std::pair<std::map<std::string, std::string>, std::string> world() const {
        return {userFiles(), contents(root())};
    }
};

TEST_F(EditsTest, ARefusedEditChangesNothing) {
    userFile("shipped", intKey("k", "3"));
    freshRoot();
    Heard heard(root());
    auto const removal = [](Node const& parent, char const* name, bool isKey) {
        return ending([&] { isKey ? parent->removeKey(name) : parent->removeNode(name); });
    };
    // First, so that the product is not loaded yet.
    EXPECT_EQ(removal(implRoot(), "shipped", false),
              "NoFileWritePermissionOnMultipleLevels(shipped, factory, user, user)");
    auto const before = world();
    at("mine.g")->setValidator(CValidator("checks", "refuseWithNames"));
    Node const group = groupWithValue("new");
    Node const below = makeGroup("below", group);
    Node const key = makeKey("k");
    EXPECT_EQ(attaching(group, at("shipped.locked")),
              "CannotAddRemoveNodeUnderReadOnlyParent(new, shipped.locked)");
    EXPECT_EQ(attaching(key, implRoot()), "CanNotAddKeyToRootException(k)");
    EXPECT_EQ(attaching(key, at("shipped")), "ErrorAddingChildNodeOrKey(shipped, k)");
    EXPECT_EQ(attaching(group, at("mine.g")),
              "ExceptionFromValidationFunction(new, k, 5, refuseWithNames, checks, new/k)");
    EXPECT_THROW(attaching(group, group), std::invalid_argument);
    EXPECT_THROW(attaching(group, below), std::invalid_argument);
    EXPECT_EQ(attaching(group, {}), "done") << "no parent, no effect";
    EXPECT_EQ(removal(at("mine"), "x", true), "NoSuchKey(mine, x)");
    EXPECT_EQ(removal(at("mine"), "x", false), "NoSuchNode(mine, x)");
    EXPECT_EQ(removal(at("mine"), "g", true), "NotAKeyName(mine, g)");
    EXPECT_EQ(removal(at("mine"), "k", false), "NotANodeName(mine, k)");
    EXPECT_EQ(removal(at("shipped.locked"), "k", true),
              "CannotAddRemoveNodeUnderReadOnlyParent(shipped.locked.k, shipped.locked)");
    EXPECT_EQ(removal(at("shipped"), "g", false),
              "NoFileWritePermissionOnMultipleLevels(shipped.g, factory, user, user)");
    // Names of products that differ by the case of ASCII letters alone clash, in every locale.
    CommaLocale const elsewhere;
    std::setlocale(LC_ALL, "tr_TR.UTF-8");  // If there is one: its "I" is not an "i".
    EXPECT_EQ(attaching(makeGroup("MINE"), implRoot()), "ErrorAddingTopLevelNode(MINE, mine)");
    EXPECT_EQ(world(), before);
    EXPECT_EQ(heard.take(), "");
    userFile("t\u00e9", "");
    freshRoot();
    EXPECT_EQ(attaching(makeGroup("T\u00e9"), implRoot()),
              "ErrorAddingTopLevelNode(T\u00e9, t\u00e9)");
    EXPECT_EQ(attaching(makeGroup("t\u00c9"), implRoot()), "done");
    EXPECT_EQ(childNames(freshRoot()), (Texts{"mine", "shipped", "t\u00c9", "t\u00e9"}));
}

TEST_F(EditsTest, ABranchArrivesAsAWholeAndIsSaved) {
    Heard heard(root());
    noteSaves(heard);
    groupWithValue("new")->setParent(at("mine.g"));
    EXPECT_EQ(heard.take(), "add new to g; save user:new") << "one event for the branch";
    turnOnSettingsSaving();
    // Names that differ by case alone are two names, except for products.
    makeKey("K")->setParent(at("mine"));
    at("mine")->setAny("K", 2, "user");
    std::string const file = readUserFile("mine");
    freshRoot();
    EXPECT_EQ(contents(at("mine")), "K=2 g(inner=1 new(k=5)) k=1");
    at("mine")->setAny("k", 2, "user");
    at("mine")->setAny("k", 1, "user");
    EXPECT_EQ(readUserFile("mine"), file) << "written, read and written again it is the same";
}

TEST_F(EditsTest, StoredValuesComeUnderTheValidatorsOfTheNewPlace) {
    Texts judged;
    judgeWith([&](std::string const& name, Parent const& parent, std::string const& key,
                  any const& value) {
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
    EXPECT_TRUE(isEqual(plain->getValidatorToUse(), ZValidator("p", "outer")));
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
    noteSaves(heard);
    Node const branch = at("mine.g");
    at("mine")->removeNode("g");
    EXPECT_EQ(heard.take(), "remove g from mine; save user:mine");
    EXPECT_EQ(branch->getZcrID(), UndefinedZcrID);
    branch->setAny("inner", 2, "user");
    branch->setParent(at("mine"));
    EXPECT_EQ(heard.take(), "add g to mine; save user:g") << "nothing of the set in between";
    turnOnSettingsSaving();

    Node const product = at("mine");
    implRoot()->removeNode("mine");
    EXPECT_EQ(heard.take(), "remove mine from root");
    EXPECT_EQ(userFiles(), (std::map<std::string, std::string>{{"other.settings", other}}));
    EXPECT_EQ(childNames(root()), (Texts{"other", "shipped"}));
    product->setAny("k", 7, "user");
    EXPECT_FALSE(userFileExists("mine"));
    product->setParent(implRoot());
    freshRoot();
    EXPECT_EQ(contents(at("mine")), "doomed=- g(inner=2) k=7");
    // A file that cannot be deleted leaves the tree changed.
    std::filesystem::remove(userFilePath("mine"));
    writeFile(userFilePath("mine") / "in the way", "");
    EXPECT_THROW(implRoot()->removeNode("mine"), qf::filesystem::FsysExceptionBase);
    EXPECT_EQ(childNames(root()), (Texts{"other", "shipped"}));
}

TEST_F(EditsTest, OffTheTreeNoFlagRefusesAndNothingIsSaved) {
    Heard heard(root());
    noteSaves(heard);
    auto const top = boost::make_shared<SettingsImpl>("t", false, true, Validator(), true, Node());
    auto const key = boost::make_shared<SettingsImpl>("K", true, true, Validator(), true, Node());
    groupWithValue("k")->setParent(top);
    key->setParent(top);
    EXPECT_EQ(attaching(makeKey("k"), top), "ErrorAddingChildNodeOrKey(t, k)");
    top->setAny("K", 1, "user");
    EXPECT_EQ(contents(top), "K=1 k(k=5)");
    top->unset("K", "user");
    top->removeNode("k");
    top->removeKey("K");
    EXPECT_EQ(contents(top), "");
    EXPECT_FALSE(key->getParent());
    EXPECT_EQ(heard.take(), "");
}

// --- Threads ------------------------------------------------------------------------------------

TEST_F(EditsTest, OfManyNewcomersOneArrivesAndOfManyRemoversOneRemoves) {
    Heard heard(root());
    for (int round = 0; round < 10; ++round) {
        std::atomic<int> arrived{0};
        concurrently(4, [&](int thread) {
            Node const newcomer = makeGroup(thread % 2 == 0 ? "twin" : "Twin");
            if (attaching(newcomer, implRoot()) == "done") ++arrived;
        });
        EXPECT_EQ(arrived, 1);
        std::string const name = childNames(root()).at(0) == "Twin" ? "Twin" : "twin";
        concurrently(4, [&](int) {
            std::string const end = ending([&] { implRoot()->removeNode(name); });
            EXPECT_TRUE(end == "done" || end == "NoSuchNode(root, " + name + ")") << end;
        });
        EXPECT_EQ(heard.take(), "add " + name + " to root; remove " + name + " from root");
    }
}

TEST_F(EditsTest, AFirstTouchBesideTheAttachmentLoadsNothing) {
    turnOffSettingsSaving();  // A save would put the product's own content into the file.
    freshRoot();
    for (int round = 0; round < 50; ++round) {
        std::string const name = "late" + std::to_string(round);
        userFile(name, intKey("fromFile", "1"));
        Node const group = makeGroup(name);
        concurrently(2, [&](int thread) {
            thread == 0 ? group->setParent(implRoot()) : void(group->getChildren());
        });
        ASSERT_EQ(childNames(group), Texts()) << "what was made in memory is whole";
    }
}

}  // namespace
