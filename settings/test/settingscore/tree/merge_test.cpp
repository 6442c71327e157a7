#include <settingscore/tree/NodeBuilder.hpp>
#include <support/ProductWorld.hpp>

using namespace qbtest;

namespace {

/// A source like the product "plot" with nothing in it.
NodePtr source() { return makeGroup("plot"); }

std::string merging(NodePtr const& target, NodePtr const& src, std::string const& level = "user") {
    return ending([&] { target->mergeDescendants(src, level); });
}

class Merge : public ProductWorld {
protected:
    Merge() { installPlot(); }
};

TEST_F(Merge, RefusesWhatCannotBeMerged) {
    auto const plot = productImpl();
    auto const axes = at("plot.axes");
    EXPECT_EQ(merging(plot, axes, "factory"), "CantModifyValuesOnReadOnlyLevel(plot, factory)");
    EXPECT_EQ(merging(implRoot(), implRoot()), "CannotMergeWithSettingsRoot(root)");
    EXPECT_EQ(merging(axes, plot), "ErrorMergingWithCircularReference(plot, plot.axes)");
    EXPECT_EQ(merging(plot, axes), "CanOnlyMergeTreeNodeWithStandaloneNode(plot.axes)");
}

TEST_F(Merge, FillsGapsAndOverwritesNothing) {
    auto const plot = product();
    plot->setAny("title", ustring(u"shadow"), "session");
    plot->setAny("width", 6, "user");
    auto const src = source();
    makeKey("width", 7, src);
    makeKey("title", ustring(u"mine"), src, "session");
    auto const newGroup = makeGroup("new", src);
    makeKey("k", Ints{1, 2}, newGroup);
    makeKey("empty", newGroup);
    makeKey("k", 1, makeGroup("AXES", src));  // Case counts below a product.
    Heard heard(plot);
    plot->mergeDescendants(src, "user");

    // Also a value that another level hides is told of.
    EXPECT_EQ(heard.take(),
              "add AXES to plot; add k to AXES; value k; add new to plot; "
              "add empty to new; add k to new; value k; value title");
    EXPECT_EQ(newGroup->getParent(), src);  // The source is only read.
    auto const saved = userFiles();
    resetInstances();
    EXPECT_EQ(contents(product(), "user"),
              "AXES(k=1) axes(grid=- ticks(count=-)) new(empty=- k=array of int32 1 2) "
              "title=string mine width=6");
    product()->mergeDescendants(src, "user");
    EXPECT_EQ(userFiles(), saved);
}

TEST_F(Merge, AConflictOrARefusedValueLeavesTreeAndFileAsTheyWere) {
    auto const plot = productImpl();
    plot->setValidator(ZValidator("p", "f"));
    judgeWith([](auto&&, auto&&, std::string const& name, auto&&) {
        if (name == "count") throw SettingsException("p:f", "not that", "f");
    });
    auto const before = userFiles();
    std::string const user = contents(plot, "user");
    Heard heard(plot);
    NodePtr const axes = makeGroup("axes");
    makeKey("count", 4, makeGroup("ticks", axes));
    std::string const conflict = "ErrorMergingNodesWithDiffAttr(";
    for (auto const& [told, child] : std::vector<std::pair<std::string, NodePtr>>{
             {conflict + "plot.axes, axes, isLeaf, )", makeKey("axes", 1, {})},
             {conflict + "plot.x, x, visible, )",
              boost::make_shared<SettingsImpl>("x", false, boost::none)},
             {"ValueIsNotInRange(width, 11, 1, 10)", makeKey("width", 11, {})},
             {"DataTypeNotMatch(string, int32)", makeKey("title", 11, {})},  // Its first value.
             {"ExceptionFromValidationFunction(ticks, count, 4, f, p, not that)", axes},
         }) {
        auto const src = source();
        makeKey("added", 1, src);
        child->setParentInternal(src);
        EXPECT_EQ(merging(plot, src), told);
        EXPECT_EQ(contents(plot, "user"), user);
        EXPECT_EQ(userFiles(), before);
    }
    EXPECT_EQ(heard.take(), "");
}

TEST_F(Merge, AdoptedValuesTakeTheShapeOfTheirKeyAndDefaultsTheLevel) {
    factoryFile(
        "shapes", "f.settings",
        keyXml("list", "int32", valueXml("1"), " maxArraySize=\"0\"") + intKey("one", "1") +
            keyXml("first", "int32", "<metadata><max>10</max></metadata>", " undef=\"true\"") +
            keyXml("text", "string", "", " undef=\"true\"") + keyXml("flag", "bool", "") +
            "<key name=\"fixed\" readonly=\"true\"><int32>" + valueXml("1") + "</int32></key>\n");
    NodePtr const src = makeGroup("shapes");
    makeKey("list", 7, src);
    makeKey("one", Ints{8}, src);
    makeKey("first", 5, src);
    makeKey("fixed", 2, src);
    makeKey("flag", std::vector<bool>{true}, src);
    NodePtr const text = makeKey("text", ustring(u"left behind"), src);
    detail::NodeBuilder(*text).setRunTimeDefault(CRunTimeDefault("defaults", "giveString"));
    EXPECT_EQ(merging(at("shapes"), src), "done");
    EXPECT_EQ(contents(product("shapes"), "user"),
              "first=5 fixed=2 flag=bool 1 list=array of int32 7 one=8 text=string computed");
    src->removeKey("first");
    src->removeKey("flag");
    EXPECT_EQ(merging(at("shapes"), src), "MultipleRuntimeFuncError(text)");
}

TEST_F(Merge, RunsBesideReaders) {
    auto const plot = productImpl();
    auto const axes = at("plot.axes");
    turnOffSettingsSaving();
    std::atomic<int> merging{2};
    concurrently(4, [&](int thread) {
        for (int i = 0; thread < 2 && i < 60; ++i) {
            auto const src = source();
            auto const group = makeGroup("t" + std::to_string(thread), makeGroup("axes", src));
            makeKey("k" + std::to_string(i), i, group);
            makeKey("twin" + std::to_string(i), i, group);
            plot->mergeDescendants(src, "user");
        }
        if (thread < 2) --merging;
        while (thread >= 2 && merging > 0) {
            auto const merged = axes->getChild(thread == 2 ? "t0" : "t1");
            if (!merged) continue;
            // What a merge brings is there as a whole.
            boost::shared_lock<boost::shared_mutex> const lock(*Settings::getTheRootMutex());
            Texts const names = childNames(merged);
            for (std::size_t k = 0; k < names.size() / 2; ++k)
                EXPECT_EQ("twin" + names[k].substr(1), names[k + names.size() / 2]);
        }
    });
    EXPECT_EQ(axes->getChild("t0")->getChildren().size(), 120u);
}

}  // namespace
