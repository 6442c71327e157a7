#include <settingscore/host/Filesystem.hpp>
#include <support/CommaLocale.hpp>

#include <support/TreeWorld.hpp>

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
    auto const removal = [](Node const& parent, char const* name) {
        return ending([&] { parent->removeNode(name); });
    };
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
    EXPECT_THROW(attaching(group, below), std::invalid_argument);
    qbhost::startInstance(3);
    ZSettings::createEmptySettingsFor(3);
    Node const otherRoot = SettingsImpl::getSettingsImplRoot(3);
    EXPECT_THROW(attaching(otherRoot, at("mine")), std::invalid_argument);
    qbhost::endInstance(3);
    EXPECT_EQ(attaching(group, {}), "done") << "no parent, no effect";
    EXPECT_EQ(ending([] { at("mine")->removeKey("x"); }), "NoSuchKey(mine, x)");
    EXPECT_EQ(ending([] { at("mine")->removeKey("g"); }), "NotAKeyName(mine, g)");
    EXPECT_EQ(removal(at("mine"), "x"), "NoSuchNode(mine, x)");
    EXPECT_EQ(removal(at("mine"), "k"), "NotANodeName(mine, k)");
    EXPECT_EQ(ending([] { at("shipped.locked")->removeKey("k"); }),
              "CannotAddRemoveNodeUnderReadOnlyParent(shipped.locked.k, shipped.locked)");
    EXPECT_EQ(removal(at("shipped"), "g"),
              "NoFileWritePermissionOnMultipleLevels(shipped.g, factory, user, user)");
    // Names of products that differ by the case of ASCII letters alone clash, in every locale.
    CommaLocale const elsewhere;
    std::setlocale(LC_ALL, "tr_TR.UTF-8");  // If there is one: its "I" is not an "i".
    EXPECT_EQ(attaching(makeGroup("MINE"), implRoot()), "ErrorAddingTopLevelNode(MINE, mine)");
    EXPECT_EQ(world(), before);
    EXPECT_EQ(heard.take(), "");
}

TEST_F(EditsTest, ABranchArrivesAsAWholeAndIsSaved) {
    Heard heard(root());
    auto const fresh =
        boost::make_shared<SettingsImpl>("new", false, true, Validator(), true, Node());
    groupWithValue("below")->setParent(fresh);  // Off the tree the flag refuses nothing.
    fresh->setParent(at("mine.g"));
    EXPECT_EQ(heard.take(), "add new to g") << "one event for the branch";
    freshRoot();
    EXPECT_EQ(contents(at("mine")), "g(inner=1 new(below(k=5))) k=1");
}

TEST_F(EditsTest, StoredValuesComeUnderTheValidatorsOfTheNewPlace) {
    Texts judged;
    judgeWith([&](std::string const& name, Parent const& parent, std::string const& key,
                  any const& value) {
        judged.push_back(name + ":" + parent->getName() + "/" + key + "=" + shown(value));
    });
    at("mine")->setValidator(ZValidator("p", "outer"));
    Node const branch = groupWithValue("branch");
    Node const own = groupWithValue("own");
    own->setParent(branch);
    own->setValidator(ZValidator("p", "inner"));
    branch->setParent(at("mine.g"));
    EXPECT_EQ(judged, Texts(2, "outer:branch/k=5"))
        << "on each level; a validator of one's own is not overruled";
    judged.clear();
    own->setAny("k", 6, "user");
    branch->setAny("k", 8, "user");
    EXPECT_EQ(judged, (Texts{"inner:own/k=6", "outer:branch/k=8"}));
}

TEST_F(EditsTest, RemovingRewritesOrDeletesTheFileAndTheBranchLivesOn) {
    Node const doomed = makeKey("doomed");
    doomed->setParent(at("mine"));
    std::string const whole = readUserFile("mine");
    at("mine")->removeKey("doomed");
    // A successor of the same name is not removed in its place.
    makeKey("doomed")->setParent(at("mine"));
    at("mine")->removeNodeImpl(doomed);
    EXPECT_TRUE(at("mine")->getChild("doomed"));

    Heard heard(root());
    auto const connection =
        at("mine")->addListener<SettingsRemoveNodeEvent>([&](SettingsRemoveNodeEvent const& event) {
            EXPECT_EQ(shown(event.getObj()->getAny("inner", "user")), "1");
            EXPECT_EQ(readUserFile("mine"), whole) << "the event comes before the save";
        });
    noteSaves(heard);
    at("mine")->removeNode("g");
    EXPECT_EQ(heard.take(), "remove g from mine; save user:mine");
    turnOnSettingsSaving();

    Node const product = at("mine");
    implRoot()->removeNode("mine");
    EXPECT_EQ(heard.take(), "remove mine from root");
    product->setAny("k", 7, "user");
    EXPECT_TRUE(userFiles().empty());
    product->setParent(implRoot());
    freshRoot();
    EXPECT_EQ(contents(at("mine")), "doomed=- k=7");
    // A file that cannot be deleted leaves the tree changed.
    std::filesystem::remove(userFilePath("mine"));
    writeFile(userFilePath("mine") / "in the way", "");
    EXPECT_THROW(implRoot()->removeNode("mine"), qf::filesystem::FsysExceptionBase);
    EXPECT_EQ(childNames(root()), Texts{"shipped"});
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
