#include <atomic>

#include <boost/smart_ptr/bad_weak_ptr.hpp>

#include "TreeWorld.hpp"

using namespace settings::core;
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
    EXPECT_FALSE(key->addListener(boost::function<void(SettingsEvent const&)>([](auto&) {})));
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
    auto const found = [](char const* start, Texts const& path) {
        boost::shared_ptr<Settings> const node = *start ? at(start) : root();
        std::string name;
        for (std::string const& part : path)
            name += (name.empty() ? "" : ".") + part;
        auto const result = node->getSettingsByPathVec(path);
        EXPECT_EQ(node->getSettingsByFullName(name), result) << start << " " << name;
        return result ? result->getFullName() : "";
    };
    EXPECT_EQ(found("", {"plotter", "axes", "grid"}), "plotter.axes.grid");
    EXPECT_EQ(found("", {}), "");
    EXPECT_EQ(found("", {"Plotter"}), "");
    EXPECT_EQ(found("plotter", {"axes", "grid"}), "plotter.axes.grid");
    EXPECT_EQ(found("plotter", {"plotter", "axes"}), "");
    EXPECT_EQ(found("plotter", {"axes", "grid", "deeper"}), "");
    EXPECT_EQ(found("plotter.axes.grid", {"grid"}), "");
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
    int count = 0;
    auto const check = [&](tribool top, tribool middle, tribool own, bool ofGroup, bool ofKey) {
        SCOPED_TRACE(count);
        Node const product = make("top" + std::to_string(count++), false, top, {});
        Node const parent = make("middle", false, middle, product);
        Node const group = make("group", false, own, parent);
        EXPECT_EQ(make("key", true, own, parent)->isReadOnly(), ofKey);
        EXPECT_EQ(group->isReadOnly(), ofGroup);
        product->setParent(implRoot());
        EXPECT_EQ(group->isReadOnly(), ofGroup) << "the root has no say";
    };
    check(true, true, false, false, false);
    check(false, false, true, true, true);
    check(true, indeterminate, indeterminate, true, false);
    check(true, false, indeterminate, false, false);
    check(false, true, indeterminate, true, false);
    check(indeterminate, indeterminate, indeterminate, false, false);
}

TEST_F(NavigationTest, ALoadThatThrowsIsRepeatedByAnotherOfTheWaiters) {
    Node const product = implRoot()->getChildImpl("plotter");
    std::atomic<int> attempts{0};
    std::atomic<int> failures{0};
    SettingsImpl::setLoadCallOnceFunc([&](SettingsImpl* node, ustring& errors) {
        if (node->getName() == "plotter" && ++attempts == 1) throw std::runtime_error("no disk");
        node->loadSettingsOnce(errors);
    });
    concurrently(4, [&](int) {
        try {
            EXPECT_EQ(shown(product->getAny("k", "")), "1");
        } catch (std::runtime_error const&) {
            ++failures;
        }
    });
    EXPECT_EQ(failures, 1);
    EXPECT_EQ(attempts, 2);
}

TEST_F(NavigationTest, LoadsThatWaitForEachOtherInACircleEnd) {
    // The user value of each product is judged, while it loads, by a script that reads the next.
    for (int i = 0; i < 3; ++i) {
        std::string const rule = "<validationfunc type='ZENBAR' packagename='p' functionname='p" +
                                 std::to_string((i + 1) % 3) + "'/>";
        std::string const name = "p" + std::to_string(i);
        factoryFile(name, name + ".settings", groupXml("g", rule + intKey("k", "1")));
        userFile(name, groupXml("g", intKey("k", "2")));
    }
    for (int round = 0; round < 10; ++round) {
        auto const tree = freshRoot();
        std::atomic<int> inside{0};
        ScriptedValidators const scripts(
            [&](std::string const& next, Parent const& self, auto&&...) {
                // None goes on before all loads are under way.
                ++inside;
                while (inside < 3)
                    std::this_thread::yield();
                EXPECT_FALSE(tree->getSettingsByFullName(self->getFullName())) << "not there yet";
                auto const group = tree->getSettingsByFullName(next + ".g");
                if (group) {
                    EXPECT_EQ(shown(group->getAny("k", "user")), "2");
                }
            });
        concurrently(3, [&](int thread) {
            auto const group = tree->getSettingsByFullName("p" + std::to_string(thread) + ".g");
            EXPECT_EQ(shown(group->getAny("k", "user")), "2");
        });
        EXPECT_EQ(inside, 3);
    }
}

}  // namespace
