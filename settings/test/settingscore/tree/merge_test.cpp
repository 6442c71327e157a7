#include "ProductWorld.hpp"

#include <atomic>
#include <set>

using namespace settings::core;
using namespace qbtest;

namespace {

/// A source like the product "plot" with nothing in it.
NodePtr source() { return makeGroup("plot"); }

/// How the merge ends; for nodes that differ in an attribute, the list of these.
std::string merging(NodePtr const& target, NodePtr const& src, std::string const& level = "user") {
    try {
        target->mergeDescendants(src, level);
        return "done";
    } catch (exception::ErrorMergingNodesWithDiffAttr const& e) {
        EXPECT_EQ(e.getSrcObject()->getName(), e.getDesObject()->getName());
        return qf::i18n::to_string(e.getDiffAttrNameList());
    } catch (...) {
        return ending([] { throw; });
    }
}

class Merge : public ProductWorld {
protected:
    Merge() { installPlot(); }
};

TEST_F(Merge, RefusesWhatCannotBeMergedAndTouchesNothing) {
    auto const plot = productImpl();
    auto const axes = nodeAt("plot.axes");
    Heard heard(root());
    EXPECT_EQ(merging(plot, axes, "nonsense"), "UnSupportedLevel(plot, nonsense)");
    EXPECT_EQ(merging(plot, source(), ""), "UnSupportedLevel(plot, )");
    EXPECT_EQ(merging(plot, axes, "factory"), "CantModifyValuesOnReadOnlyLevel(plot, factory)");
    EXPECT_EQ(merging(implRoot(), implRoot()), "CannotMergeWithSettingsRoot(root)");
    EXPECT_EQ(merging(axes, plot), "ErrorMergingWithCircularReference(plot, plot.axes)");
    EXPECT_EQ(merging(axes, axes), "ErrorMergingWithCircularReference(plot.axes, plot.axes)");
    EXPECT_EQ(merging(plot, axes), "CanOnlyMergeTreeNodeWithStandaloneNode(plot.axes)");
    EXPECT_THROW(merging(plot, {}), std::invalid_argument);
    EXPECT_TRUE(userFiles().empty());
    EXPECT_EQ(heard.take(), Texts());
}

TEST_F(Merge, FillsGapsAndOverwritesNothing) {
    auto const plot = product();
    plot->setAny("title", ustring(u"shadow"), "session");
    plot->setAny("width", 6, "user");
    plot->mergeDescendants(source(), "session");
    std::string const before = readUserFile("plot");
    auto const src = source();
    src->setVersionNumber(9);
    src->setValidatorInternal(CValidator("checks", "refuse"));
    makeKey("width", 7, src)->setMetaDataInternal({});
    makeKey("title", ustring(u"mine"), src, "session");
    auto const newGroup = makeGroup("new", src);
    makeKey("k", std::vector<int>{1, 2}, newGroup);
    makeKey("empty", newGroup);
    makeKey("k", 1, makeGroup("AXES", src));  // Case counts below a product.
    NodePtr const alone = source();
    alone->mergeDescendants(src, "user");
    EXPECT_EQ(readUserFile("plot"), before);
    EXPECT_EQ(valueOf<int>(alone->getChild("AXES"), "k", "user"), 1);
    Heard heard(plot);
    plot->mergeDescendants(src, "user");

    EXPECT_EQ(valueOf<ustring>(plot, "title"), u"shadow");
    // Also a value that another level hides is told of.
    EXPECT_EQ(heard.take(),
              (Texts{"add AXES to plot", "add k to AXES", "value k", "add new to plot",
                     "add empty to new", "add k to new", "value k", "value title"}));
    EXPECT_EQ(newGroup->getParent(), src);  // The source is only read.
    EXPECT_EQ(valueOf<ustring>(src, "title", "session"), u"mine");
    EXPECT_EQ(plot->getVersionNumber().value_or(0), 4u);
    EXPECT_EQ(plot->getValidator().which(), 0);
    EXPECT_THROW(plot->setAny("width", 11, "session"), exception::ValidationException);

    auto const saved = userFiles();
    resetInstances();
    EXPECT_EQ(valueOf<int>(product(), "width", "user"), 6);
    EXPECT_EQ(valueOf<ustring>(product(), "title", "user"), u"mine");
    EXPECT_EQ(valueOf<std::vector<int>>(product()->getChild("new"), "k"), (std::vector<int>{1, 2}));
    Heard again(product());
    product()->mergeDescendants(src, "user");
    EXPECT_EQ(again.take(), Texts());
    EXPECT_EQ(userFiles(), saved);
}

TEST_F(Merge, AConflictOrARefusedValueLeavesTreeAndFileAsTheyWere) {
    auto const plot = productImpl();
    plot->setAny("width", 6, "user");
    plot->setValidator(ZValidator("p", "f"));
    ScriptedValidators const script([](auto&&, auto&&, std::string const& name, auto&&) {
        if (name == "count") throw SettingsException("p:f", "not that", "f");
    });
    auto const before = userFiles();
    auto const shape = plot->getChildren();
    Heard heard(plot);
    using Fill = std::function<void(NodePtr const&)>;
    for (auto const& [told, fill] : std::vector<std::pair<std::string, Fill>>{
             {"isLeaf, ", [](NodePtr const& s) { makeKey("axes", 1, s); }},
             {"isLeaf, ", [](NodePtr const& s) { makeGroup("width", s); }},
             {"visible, ",
              [](NodePtr const& s) {
                  boost::make_shared<SettingsImpl>("x", false, boost::none)->setParentInternal(s);
              }},
             {"ValueIsNotInRange(width, 11, 1, 10)",
              [](NodePtr const& s) { makeKey("width", 11, s); }},
             {"DataTypeNotMatch(int32, array of int32)",
              [](NodePtr const& s) { makeKey("width", std::vector<int>(2), s); }},
             {"DataTypeNotMatch(int32, string)",
              [](NodePtr const& s) { makeKey("width", ustring(u"x"), s); }},
             {"ExceptionFromValidationFunction(ticks, count, 4, f, p, not that)",
              [](NodePtr const& s) {
                  makeKey("count", 4, makeGroup("ticks", makeGroup("axes", s)));
              }},
         }) {
        auto const src = source();
        makeKey("added", 1, src);
        fill(src);
        EXPECT_EQ(merging(plot, src), told);
        EXPECT_EQ(plot->getChildren(), shape);
        EXPECT_EQ(valueOf<int>(plot, "width", "user"), 6);
        EXPECT_EQ(userFiles(), before);
    }
    EXPECT_EQ(heard.take(), Texts());
}

TEST_F(Merge, AdoptedValuesTakeTheShapeOfTheirKeyAndPassItsOtherRules) {
    factoryFile(
        "shapes", "f.settings",
        keyXml("list", "int32", valueXml("1"), " maxArraySize=\"0\"") + intKey("one", "1") +
            keyXml("first", "int32", "<metadata><max>10</max></metadata>", " undef=\"true\"") +
            "<key name=\"fixed\" readonly=\"true\"><int32>" + valueXml("1") + "</int32></key>\n");
    NodePtr const src = makeGroup("shapes");
    makeKey("list", 7, src);
    makeKey("one", std::vector<int>{8}, src);
    makeKey("first", 50, src);  // A first value is not held against a range.
    makeKey("fixed", 2, src);
    product("shapes")->mergeDescendants(src, "user");
    auto const shapes = product("shapes");
    EXPECT_EQ(valueOf<std::vector<int>>(shapes, "list", "user"), std::vector<int>{7});
    EXPECT_EQ(valueOf<int>(shapes, "one", "user"), 8);
    EXPECT_EQ(valueOf<int>(shapes, "first", "user"), 50);
    EXPECT_EQ(valueOf<int>(shapes, "fixed", "user"), 2);
}

TEST_F(Merge, ARuntimeDefaultIsAdoptedWithTheLevelAndASecondOneRefused) {
    auto const plot = product();
    auto const src = source();
    makeKey("title", ustring(u"left behind"), src)
        ->setRunTimeDefaultInternal(CRunTimeDefault("defaults", "giveString"));
    Heard heard(plot);
    plot->mergeDescendants(src, "user");
    EXPECT_EQ(heard.take(), Texts{"value title"});
    EXPECT_TRUE(nodeAt("plot.title")->isRuntimeOwningLevel("user"));
    EXPECT_EQ(valueOf<ustring>(plot, "title"), u"computed");
    EXPECT_EQ(merging(productImpl(), src), "MultipleRuntimeFuncError(title)");
}

TEST_F(Merge, AListenerOrASaveThatFailsIsToldToTheCallerAndTheChangeStays) {
    auto const plot = product();
    auto const src = source();
    makeKey("a", 1, src);
    makeKey("b", 1, src);
    auto angry = plot->addListener<SettingsAddNodeEvent>([](SettingsAddNodeEvent const& event) {
        throw std::runtime_error(event.getObj()->getFullName());
    });
    Heard heard(plot);
    expectThrow<std::runtime_error>([&] { plot->mergeDescendants(src, "user"); },
                                    [](auto const& e) { EXPECT_STREQ(e.what(), "plot.a"); });
    EXPECT_EQ(heard.take(), (Texts{"add a to plot", "value a", "add b to plot", "value b"}));
    EXPECT_FALSE(userFileExists("plot"));
    angry.reset();
    makeKey("c", 1, src);
    failSaves();
    EXPECT_THROW(plot->mergeDescendants(src, "user"), std::runtime_error);
    EXPECT_EQ(valueOf<int>(plot, "c", "user"), 1);
}

TEST_F(Merge, ACopyIsDeepAndHasAnIdentityOfItsOwn) {
    auto const plot = productImpl();
    NodePtr const copy = plot->clone();
    EXPECT_FALSE(copy->getParent());
    EXPECT_EQ(valueOf<int>(copy->getSettingsByFullName("axes.ticks"), "count", "factory"), 3);
    EXPECT_NE(copy->getImplNodeEventId(), plot->getImplNodeEventId());
    EXPECT_THROW(implRoot()->clone(), std::bad_cast);
}

TEST_F(Merge, RunsBesideReadersAndWriters) {
    auto const plot = productImpl();
    auto const axes = nodeAt("plot.axes");
    turnOffSettingsSaving();
    std::atomic<int> merging{2};
    concurrently(6, [&](int thread) {
        for (int i = 0; thread < 2 && i < 60; ++i) {
            auto const src = source();
            auto const group = makeGroup("t" + std::to_string(thread), makeGroup("axes", src));
            makeKey("k" + std::to_string(i), i, group);
            makeKey("twin" + std::to_string(i), i, group);
            plot->mergeDescendants(src, "user");
        }
        if (thread < 2) --merging;
        for (int i = 0; merging > 0; ++i) {
            if (thread == 2) plot->setAny("width", 1 + i % 10, "session");
            if (thread == 3) {
                makeGroup("extra")->setParent(axes);
                axes->removeNode("extra");
            }
            if (thread < 4) continue;
            EXPECT_EQ(valueOf<int>(plot->getSettingsByFullName("axes.ticks"), "count"), 3);
            auto const merged = axes->getChild(thread == 4 ? "t0" : "t1");
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
