#include <boost/thread/thread.hpp>

#include <support/ProductWorld.hpp>

using namespace qbtest;

namespace {

/// Trees that are deeper than a stack is large.
class DeepTrees : public ProductWorld {
protected:
    /// A chain of groups below `top`, with a key at its end; returns the last group.
    static NodePtr chainBelow(NodePtr top, int levels) {
        for (int i = 0; i < levels; ++i)
            top = makeGroup("g", top);
        makeKey("k", 1, top);
        return top;
    }
    static void onSmallStack(std::function<void()> const& work) {
        boost::thread::attributes attributes;
        attributes.set_stack_size(std::size_t(512) << 10U);
        boost::thread(attributes, work).join();
    }
};

TEST_F(DeepTrees, ASetInADeepFileNeedsNoDeepStack) {
    int const levels = 990;
    std::string open;
    std::string close;
    std::string path = "deep";
    for (int i = 0; i < levels; ++i) {
        open += "<settings name=\"g\">";
        close += "</settings>";
        path += ".g";
    }
    factoryFile("deep", "f.settings", open + intKey("k", "1") + close);
    NodePtr const group = at(path);
    onSmallStack([&] {
        EXPECT_EQ(ending([&] { group->setAny("k", 2, "user"); }), "done");
        ustring const file = qf::i18n::to_ustring((folder() / "out.settings").string());
        Settings::exportSettings({group->getChild("k")}, file, "user");
    });
    freshRoot();
    EXPECT_EQ(shownAt(path + ".k", "user"), "2");
}

TEST_F(DeepTrees, AreAttachedMergedFoundAndLetGo) {
    turnOffSettingsSaving();
    installPlot();
    int const levels = 100000;
    onSmallStack([&] {
        NodePtr const top = makeGroup("top");
        NodePtr const last = chainBelow(top, levels);
        EXPECT_EQ(ending([&] { top->setParent(productImpl()); }), "done");
        EXPECT_EQ(last->getFullName().size(), std::string("plot.top").size() + 2u * levels);
        EXPECT_EQ(root()->getSettingsByFullName(last->getFullName()), last);
        last->setAny("k", 2, "session");
        productImpl()->removeNode("top");
        EXPECT_EQ(ending([&] { at("plot.axes")->mergeDescendants(top, "user"); }), "done");
        EXPECT_EQ(contents(productImpl()->getChild("axes")->getChild("ticks")), "count=3");
    });
}

}  // namespace
