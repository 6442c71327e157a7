#include <boost/smart_ptr/bad_weak_ptr.hpp>

#include "TreeWorld.hpp"

using namespace qbtest;
using boost::logic::indeterminate;
using boost::logic::tribool;

namespace {

class NavigationTest : public TreeWorld {
protected:
    NavigationTest() {
        factoryFile("plotter", "plotter.settings",
                    intKey("k", "1") + groupXml("axes", intKey("grid", "2")),
                    "visible=\"true\" version=\"7\"");
    }
};

TEST_F(NavigationTest, ANodeKnowsItsNameAndPlace) {
    auto const place = [](SettingsImpl const& node) {
        return (node.isTopLevelNode() ? "product " : "") + node.getFullName() + " of " +
               node.getTopLevelNode()->getName() + (node.isOrphanRoot() ? " apart" : "") +
               (node.isConnectedToTheSettingsTree() ? " connected" : "") +
               (node.getZcrID() == BlessedZcrID ? " in an instance" : "");
    };
    Node top = makeGroup("top");
    Node const group = boost::make_shared<SettingsImpl>("g", false, boost::none, Validator(), top);
    EXPECT_FALSE(group->isVisible()) << "not known is not visible";
    EXPECT_EQ(group->getParent(), top);
    EXPECT_FALSE(top->getChild("g")) << "a parent argument attaches nothing";
    group->setParent(top);
    Node const key = makeKey("k", group);
    EXPECT_EQ(place(*top), "top of top apart");
    EXPECT_EQ(place(*key), "top.g.k of top");
    top.reset();
    EXPECT_EQ(place(*key), "g.k of g") << "a parent is only observed";
    EXPECT_EQ(place(*group), "g of g apart");
    EXPECT_EQ(place(*implRoot()), " of root connected in an instance");
    EXPECT_EQ(place(*at("plotter")), "product plotter of plotter connected in an instance");
    Node const grid = at("plotter.axes.grid");
    EXPECT_EQ(place(*grid), "plotter.axes.grid of plotter connected in an instance");
    grid->setVersionNumber(1);
    EXPECT_EQ(grid->getVersionNumber(), 7u) << "the product's own";
    EXPECT_FALSE(root()->getVersionNumber());
    EXPECT_THROW(SettingsImpl("n", false, true).getThisObjectImpl(), boost::bad_weak_ptr);
}

TEST_F(NavigationTest, PathsAreRelativeToTheNodeThatIsAsked) {
    auto const found = [](Parent const& start, Texts const& path) {
        std::string name;
        for (std::string const& part : path)
            name += (name.empty() ? "" : ".") + part;
        auto const result = start->getSettingsByPathVec(path);
        EXPECT_EQ(start->getSettingsByFullName(name), result) << name;
        return result ? result->getFullName() : "";
    };
    EXPECT_EQ(found(root(), {"plotter", "axes", "grid"}), "plotter.axes.grid");
    EXPECT_EQ(found(at("plotter"), {"axes", "grid"}), "plotter.axes.grid");
    EXPECT_EQ(found(root(), {}) + found(root(), {"Plotter"}), "");
    EXPECT_EQ(found(at("plotter"), {"plotter", "axes"}), "");
    EXPECT_EQ(found(at("plotter"), {"axes", "grid", "deeper"}), "");
    EXPECT_EQ(found(at("plotter.axes.grid"), {"grid"}), "");
    // A dotted name may have empty parts, a path may not.
    EXPECT_EQ(root()->getSettingsByFullName("..plotter..axes."), at("plotter.axes"));
    EXPECT_FALSE(root()->getSettingsByFullName("..."));
    EXPECT_FALSE(root()->getSettingsByPathVec({"plotter", "", "axes"}));
    EXPECT_FALSE(root()->getSettingsByPathVec({"plotter.axes"}));
}

TEST_F(NavigationTest, AReadOnlyFlagIsTheOwnOrForGroupsTheNearestOne) {
    auto const make = [](std::string const& name, bool leaf, tribool readOnly, Node const& parent) {
        auto const node =
            boost::make_shared<SettingsImpl>(name, leaf, true, Validator(), readOnly, Node());
        node->setParentInternal(parent);
        return node;
    };
    auto const check = [&](tribool top, tribool middle, tribool own, bool ofGroup, bool ofKey) {
        Node const product = make("top", false, top, {});
        Node const parent = make("middle", false, middle, product);
        Node const group = make("group", false, own, parent);
        EXPECT_EQ(make("key", true, own, parent)->isReadOnly(), ofKey);
        EXPECT_EQ(group->isReadOnly(), ofGroup);
        product->setParent(implRoot());
        EXPECT_EQ(group->isReadOnly(), ofGroup) << "the root has no say";
        implRoot()->removeNode("top");
    };
    check(true, true, false, false, false);
    check(false, false, true, true, true);
    check(true, indeterminate, indeterminate, true, false);
    check(true, false, indeterminate, false, false);
    check(false, true, indeterminate, true, false);
    check(indeterminate, indeterminate, indeterminate, false, false);
}

}  // namespace
