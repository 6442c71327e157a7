#include <support/TreeWorld.hpp>

using namespace qbtest;

namespace {

using NavigationTest = TreeWorld;

TEST_F(NavigationTest, PathsAreRelativeToTheNodeThatIsAsked) {
    factoryFile("plotter", "plotter.settings", groupXml("axes", intKey("grid", "2")));
    Node const plotter = at("plotter");
    Node const grid = at("plotter.axes.grid");
    EXPECT_EQ(root()->getSettingsByPathVec({"plotter", "axes", "grid"}), grid);
    EXPECT_EQ(plotter->getSettingsByFullName("axes.grid"), grid);
    EXPECT_FALSE(plotter->getSettingsByFullName("plotter.axes"));
    EXPECT_FALSE(root()->getSettingsByFullName("Plotter"));
    // A dotted name may have empty parts, a path may not.
    EXPECT_EQ(root()->getSettingsByFullName("..plotter..axes."), at("plotter.axes"));
    EXPECT_FALSE(root()->getSettingsByPathVec({"plotter", "", "axes"}));
}

TEST_F(NavigationTest, AReadOnlyFlagIsTheOwnOrForGroupsTheNearestOne) {
    auto const group = [](std::string const& flag, std::string const& body) {
        return "<settings name=\"g\" " + flag + ">" + body + "</settings>";
    };
    std::string const yes = "readonly=\"true\"";
    std::string const no = "readonly=\"false\"";
    std::string const leaf = group("", intKey("k", "1"));
    factoryFile("p", "p.settings", group(yes, group("", leaf)));
    factoryFile("q", "q.settings", group(no, leaf), yes);
    EXPECT_TRUE(at("p.g.g.g")->isReadOnly());
    EXPECT_FALSE(at("p.g.g.g.k")->isReadOnly()) << "a key does not inherit";
    EXPECT_FALSE(at("q.g.g")->isReadOnly());
}

}  // namespace
