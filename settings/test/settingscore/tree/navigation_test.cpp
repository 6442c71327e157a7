#include <atomic>
#include <string>
#include <vector>

#include <boost/smart_ptr/bad_weak_ptr.hpp>

#include "TreeWorld.hpp"

using namespace settings::core;
using namespace qbtest;
using boost::logic::indeterminate;
using boost::logic::tribool;

namespace {

/// With the product `plotter`.
class NavigationTest : public TreeWorld {
protected:
    NavigationTest() {
        factoryFile("plotter", "plotter.settings",
                    intKey("k", "1") + "<settings name=\"axes\" visible=\"true\">" +
                        intKey("grid", "2") + "</settings>",
                    "visible=\"true\" version=\"7\"");
    }
};

// --- Names, paths and places --------------------------------------------------------------------

TEST(Navigation, AStandaloneTreeIsNamedFromItsTop) {
    Node const top = makeGroup("top");
    Node const group = makeGroup("g", top);
    Node const key = makeKey("k", group);
    EXPECT_EQ(top->getFullName(), "top");
    EXPECT_EQ(key->getFullName(), "top.g.k");
    EXPECT_EQ(key->getTopLevelNode(), top);
    EXPECT_EQ(top->getTopLevelNode(), top);
    EXPECT_TRUE(top->isOrphanRoot());
    EXPECT_FALSE(key->isOrphanRoot());
    EXPECT_FALSE(group->isTopLevelNode()) << "only the children of the root are products";
    EXPECT_FALSE(key->isConnectedToTheSettingsTree());
    EXPECT_EQ(key->getZcrID(), UndefinedZcrID);
    EXPECT_TRUE(key->isLeafNode());
    EXPECT_FALSE(top->isRoot());
    EXPECT_FALSE(
        top->addListener(boost::function<void(SettingsEvent const&)>([](SettingsEvent const&) {})));
}

TEST_F(NavigationTest, TheRootsNameIsNoPartOfNames) {
    Node const key = at("plotter.axes.grid");
    EXPECT_EQ(key->getFullName(), "plotter.axes.grid");
    EXPECT_EQ(root()->getFullName(), "");
    EXPECT_EQ(key->getTopLevelNode(), at("plotter"));
    EXPECT_EQ(implRoot()->getTopLevelNode(), implRoot());
    EXPECT_TRUE(at("plotter")->isTopLevelNode());
    EXPECT_FALSE(at("plotter.axes")->isTopLevelNode());
    EXPECT_TRUE(key->isConnectedToTheSettingsTree());
    EXPECT_FALSE(root()->getParent());
    EXPECT_TRUE(root()->isRoot());
    EXPECT_FALSE(implRoot()->isOrphanRoot());
    EXPECT_EQ(key->getZcrID(), BlessedZcrID);
    EXPECT_EQ(root()->getZcrID(), BlessedZcrID);
    EXPECT_EQ(key->getParent(), at("plotter.axes"));
    EXPECT_EQ(at("plotter")->getParent(), root());
}

TEST_F(NavigationTest, PathsAreRelativeToTheNodeThatIsAsked) {
    struct Case {
        char const* start;
        char const* name;
        std::vector<std::string> path;
        char const* found;
    };
    for (Case const& c : std::vector<Case>{
             {"", "plotter.axes.grid", {"plotter", "axes", "grid"}, "plotter.axes.grid"},
             {"", "plotter", {"plotter"}, "plotter"},
             {"", "", {}, ""},
             {"", "nothing.k", {"nothing", "k"}, ""},
             {"", "Plotter", {"Plotter"}, ""},
             {"plotter", "axes.grid", {"axes", "grid"}, "plotter.axes.grid"},
             {"plotter", "plotter.axes", {"plotter", "axes"}, ""},
             {"plotter", "axes.grid.deeper", {"axes", "grid", "deeper"}, ""},
             {"plotter.axes", "grid", {"grid"}, "plotter.axes.grid"},
             {"plotter.axes.grid", "grid", {"grid"}, ""},
         }) {
        SCOPED_TRACE(std::string(c.start) + " " + c.name);
        auto const start = *c.start ? boost::shared_ptr<Settings>(at(c.start)) : root();
        auto const byName = start->getSettingsByFullName(c.name);
        EXPECT_EQ(byName ? byName->getFullName() : "", c.found);
        EXPECT_EQ(start->getSettingsByPathVec(c.path), byName);
    }
    // A dotted name may have empty parts, a path may not.
    for (char const* name : {"plotter..axes", ".plotter.axes.", "...plotter.axes"}) {
        EXPECT_EQ(root()->getSettingsByFullName(name), at("plotter.axes")) << name;
    }
    EXPECT_FALSE(root()->getSettingsByFullName("..."));
    EXPECT_FALSE(root()->getSettingsByPathVec({"plotter", "", "axes"}));
    EXPECT_FALSE(root()->getSettingsByPathVec({""}));
    EXPECT_FALSE(root()->getSettingsByPathVec({"plotter.axes"}));
}

TEST(Navigation, ChildrenComeInByteOrder) {
    Node const group = makeGroup("g");
    for (char const* name : {"a", "B", "b", "\xc3\xa4", "A1"})
        makeKey(name, group);
    Texts names;
    for (auto const& child : group->getChildren())
        names.push_back(child->getName());
    EXPECT_EQ(names, (Texts{"A1", "B", "a", "b", "\xc3\xa4"}));
    boost::shared_ptr<Settings const> const constGroup = group;
    EXPECT_EQ(constGroup->getChildren().size(), 5u);
    EXPECT_EQ(constGroup->getChild("B"), group->getChild("B"));
    EXPECT_FALSE(group->getChild("C"));
    EXPECT_FALSE(group->getChild(""));
}

TEST(Navigation, AParentIsOnlyObserved) {
    Node parent = makeGroup("parent");
    Node const child =
        boost::make_shared<SettingsImpl>("child", false, boost::none, Validator(), parent);
    EXPECT_EQ(child->getParent(), parent);
    EXPECT_FALSE(parent->getChild("child")) << "a parent argument attaches nothing";
    child->setParent(parent);
    EXPECT_EQ(parent->getChild("child"), child);
    Node const grandchild = makeKey("k", child);
    parent.reset();
    EXPECT_FALSE(child->getParent());
    EXPECT_TRUE(child->isOrphanRoot());
    EXPECT_EQ(grandchild->getFullName(), "child.k");
}

TEST(Navigation, ANodeThatNobodyOwnsCannotNameItself) {
    SettingsImpl node("n", false, true);
    EXPECT_THROW(node.getThisObjectImpl(), boost::bad_weak_ptr);
    EXPECT_THROW(static_cast<SettingsImpl const&>(node).getThisObjectImpl(), boost::bad_weak_ptr);
    EXPECT_THROW(node.validateLevelName("nonsense"), boost::bad_weak_ptr);
    EXPECT_EQ(node.getFullName(), "n");
    EXPECT_EQ(node.getZcrID(), UndefinedZcrID);
}

// --- Flags --------------------------------------------------------------------------------------

TEST_F(NavigationTest, AReadOnlyFlagIsTheOwnOrForGroupsTheNearestOne) {
    struct Case {
        tribool top;
        tribool middle;
        tribool own;
        bool group;
        bool key;
    };
    std::vector<Case> const cases = {
        {true, true, false, false, false},
        {false, false, true, true, true},
        {true, indeterminate, indeterminate, true, false},
        {true, false, indeterminate, false, false},
        {false, true, indeterminate, true, false},
        {indeterminate, indeterminate, indeterminate, false, false},
    };
    auto const make = [](std::string const& name, bool leaf, tribool readOnly, Node const& parent) {
        auto const node =
            boost::make_shared<SettingsImpl>(name, leaf, true, Validator(), readOnly, Node());
        node->setParentInternal(parent);
        return node;
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(i);
        Case const& c = cases[i];
        Node const top = make("top" + std::to_string(i), false, c.top, {});
        Node const middle = make("middle", false, c.middle, top);
        Node const group = make("group", false, c.own, middle);
        Node const key = make("key", true, c.own, middle);
        EXPECT_EQ(group->isReadOnly(), c.group);
        EXPECT_EQ(key->isReadOnly(), c.key);
        top->setParent(implRoot());
        EXPECT_EQ(group->isReadOnly(), c.group) << "the root has no say";
    }
}

TEST(Navigation, TheFormsOfConstructionDifferInTheirDefaults) {
    ValueArraySizeValidator const sizes(4, 2);
    auto const checker = [](boost::any&) {};
    Node const plain = boost::make_shared<SettingsImpl>("n", false, boost::none);
    Node const typed = boost::make_shared<SettingsImpl>("n", true, false, sizes, nullptr, +checker,
                                                        Validator(), Node());
    Node const versioned = boost::make_shared<SettingsImpl>(
        "n", false, true, boost::optional<unsigned>(3u), tribool(true), Validator(), Node());
    EXPECT_FALSE(plain->isVisible()) << "not known is not visible";
    EXPECT_FALSE(typed->isVisible());
    EXPECT_TRUE(versioned->isVisible());
    EXPECT_FALSE(plain->isReadOnly());
    EXPECT_FALSE(typed->isReadOnly());
    EXPECT_TRUE(versioned->isReadOnly());
    EXPECT_FALSE(plain->getVersionNumber());
    EXPECT_EQ(versioned->getVersionNumber(), 3u);
    EXPECT_FALSE(plain->getValueArraySizeValidator());
    EXPECT_EQ(typed->getValueArraySizeValidator()->minArrSize(), 2u);
    EXPECT_EQ(typed->getValueArraySizeValidator()->maxArrSize(), 4u);
    EXPECT_FALSE(typed->getDataTypeIndex());
    EXPECT_NE(plain->getImplNodeEventId(), typed->getImplNodeEventId());
}

TEST_F(NavigationTest, TheVersionIsTheProductsOwn) {
    Node const key = at("plotter.axes.grid");
    EXPECT_EQ(key->getVersionNumber(), 7u);
    key->setVersionNumber(1);
    EXPECT_EQ(key->getVersionNumber(), 7u);
    at("plotter")->setVersionNumber(8);
    EXPECT_EQ(key->getVersionNumber(), 8u);
    EXPECT_FALSE(root()->getVersionNumber());
    {
        detail::UpgradeTreeLock lock;
        at("plotter")->setVersionNumberWithLock(lock.get(), 9);
        at("plotter")->setVisible(lock.get(), false);
    }
    EXPECT_EQ(key->getVersionNumber(), 8u) << "the first definition wins";
    EXPECT_TRUE(at("plotter")->isVisible());
}

TEST(Navigation, ACopyHasTheRulesAndNeitherPlaceNorValues) {
    Node const parent = makeGroup("parent");
    Node const key = makeKey("k", parent);
    parent->setAny("k", 5, "user");
    key->setValidator(CValidator("checks", "accept"));
    key->setMetaData(SettingsKeyMetaData<boost::any>(1, 9, {}));
    key->setRunTimeDefault(CRunTimeDefault("defaults", "giveDouble"));
    Node const copy = boost::make_shared<SettingsImpl>(*key);
    EXPECT_EQ(copy->getName(), "k");
    EXPECT_TRUE(copy->isLeafNode());
    EXPECT_FALSE(copy->getParent());
    EXPECT_TRUE(copy->getAnyValueInternal("", false).empty());
    EXPECT_TRUE(isEqual(copy->getValidator(), key->getValidator()));
    EXPECT_EQ(boost::any_cast<int>(copy->getKeyMetaData().maximum), 9);
    EXPECT_EQ(copy->getDataTypeIndex(), key->getDataTypeIndex());
    EXPECT_EQ(copy->getRunTimeDefault().which(), 1);
    EXPECT_NE(copy->getImplNodeEventId(), key->getImplNodeEventId());
    EXPECT_TRUE(boost::make_shared<SettingsImpl>(*parent)->getChildren().empty());
}

// --- Loads --------------------------------------------------------------------------------------

TEST_F(NavigationTest, ALoadThatThrowsIsRepeatedByAnotherOfTheWaiters) {
    TimeLimit const limit;
    Node const product = implRoot()->getChildImpl("plotter");
    std::atomic<int> attempts{0};
    SettingsImpl::setLoadCallOnceFunc([&](SettingsImpl* node, ustring& errors) {
        if (node->getName() == "plotter" && ++attempts == 1) throw std::runtime_error("no disk");
        node->loadSettingsOnce(errors);
    });
    std::atomic<int> failures{0};
    onThreads(4, [&](int) {
        try {
            EXPECT_EQ(shown(product->getAny("k", "")), "1");
        } catch (std::runtime_error const&) {
            ++failures;
        }
    });
    EXPECT_EQ(failures, 1);
    EXPECT_EQ(attempts, 2);
}

/// Products whose user values are judged, while they load, by a script that reads a product.
class JudgedLoadTest : public TreeWorld {
protected:
    void judgedProduct(std::string const& name, std::string const& reads) {
        std::string const open = "<settings name=\"g\" visible=\"true\">";
        std::string const key =
            "<key name=\"k\" visible=\"true\"><validationfunc type='ZENBAR' "
            "packagename='p' functionname='" +
            reads + "'/><int32><value>";
        std::string const close = "</value></int32></key></settings>";
        factoryFile(name, name + ".settings", open + key + "1" + close);
        userFile(name, open + key + "2" + close);
    }
};

TEST_F(JudgedLoadTest, AValidatorMayReadTheProductThatIsBeingLoaded) {
    TimeLimit const limit;
    judgedProduct("a", "a");
    int calls = 0;
    ScriptedValidators const scripts([&](std::string const& product, auto&&...) {
        ++calls;
        EXPECT_FALSE(root()->getSettingsByFullName(product + ".g.k")) << "not there yet";
    });
    EXPECT_EQ(shown(at("a.g")->getAny("k", "user")), "2");
    EXPECT_EQ(calls, 1);
}

TEST_F(JudgedLoadTest, LoadsThatWaitForEachOtherInACircleEnd) {
    TimeLimit const limit;
    Texts const products = {"a", "b", "c"};
    for (int i = 0; i < 3; ++i)
        judgedProduct(products[i], products[(i + 1) % 3]);
    for (int round = 0; round < 10; ++round) {
        auto const tree = freshRoot();
        std::atomic<int> inside{0};
        ScriptedValidators const scripts([&](std::string const& next, auto&&...) {
            // None goes on before all loads are under way.
            ++inside;
            while (inside < 3)
                std::this_thread::yield();
            boost::shared_ptr<Settings> const group = tree->getSettingsByFullName(next + ".g");
            if (group) {
                EXPECT_EQ(shown(group->getAny("k", "user")), "2");
            }
        });
        onThreads(3, [&](int thread) {
            auto const group = tree->getSettingsByFullName(products[thread] + ".g");
            ASSERT_TRUE(group);
            EXPECT_EQ(shown(group->getAny("k", "user")), "2");
            EXPECT_EQ(shown(group->getAny("k", "factory")), "1");
        });
        EXPECT_EQ(inside, 3);
    }
}

TEST_F(JudgedLoadTest, ACheckUnderTheLockMayBeTheFirstToTouchAProduct) {
    TimeLimit const limit;
    factoryFile("limits", "limits.settings", intKey("max", "10"));
    Node const product = makeGroup("p");
    product->setParent(implRoot());
    Node const key = makeKey("k", product);
    key->setValidator(ZValidator("p", "f"));
    int calls = 0;
    ScriptedValidators const scripts([&](auto&&...) {
        ++calls;
        EXPECT_EQ(shown(root()->getSettingsByFullName("limits")->getAny("max", "")), "10");
    });
    product->setAny("k", 1, "session");
    EXPECT_EQ(calls, 1);

    freshRoot();
    boost::shared_lock<boost::shared_mutex> const reader(*Settings::getTheRootMutex());
    EXPECT_EQ(shown(root()->getSettingsByFullName("limits")->getAny("max", "")), "10");
}

}  // namespace
