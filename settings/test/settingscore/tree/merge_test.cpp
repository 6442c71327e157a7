#include "ProductWorld.hpp"

#include <atomic>
#include <set>

#include <boost/thread/lock_types.hpp>
#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/persistence/writer/SaveSettingsFunctor.hpp>
#include <settingscore/roots/SettingsEvent.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>

using namespace settings::core;
using namespace qbtest;

namespace {

/// A source like the product "plot" with nothing in it.
NodePtr source() { return makeGroup("plot"); }

class Merge : public ProductWorld {
protected:
    Merge() { installPlot(); }

    /// Notes each event of the product, as "add NAME" or "value NAME".
    void listen() {
        auto const plot = product();
        connections_.push_back(plot->addListener<SettingsEvent>(
            boost::function<void(SettingsEvent const&)>([this](SettingsEvent const& event) {
                bool const value = event.isKindOf(SettingsValueChangeEvent::typeTag());
                events_.push_back((value ? "value " : "add ") + event.getObj()->getName());
                // A listener may read the tree.
                event.getObj()->getFullName();
                product()->getChildren();
            })));
    }
    using Events = std::vector<std::string>;
    Events events_;

private:
    std::vector<std::unique_ptr<corebus::msg_svc::eventmgr::Connection>> connections_;
};

TEST_F(Merge, RefusesWhatCannotBeMergedAndTouchesNothing) {
    auto const plot = productImpl();
    auto const axes = nodeAt("plot.axes");
    plot->setAny("width", 6, "user");
    auto const before = userFiles();
    auto const src = source();
    listen();

    expectThrow<exception::UnSupportedLevel>([&] { plot->mergeDescendants(src, "nonsense"); });
    expectThrow<exception::UnSupportedLevel>([&] { plot->mergeDescendants(src, ""); });
    expectThrow<exception::CantModifyValuesOnReadOnlyLevel>(
        [&] { plot->mergeDescendants(src, "factory"); },
        [&](auto const& e) {
            EXPECT_STREQ(e.what(), "The Settings file on the give level is read-only");
        });
    expectThrow<exception::CannotMergeWithSettingsRoot>(
        [&] { root()->mergeDescendants(root(), "user"); },
        [&](auto const& e) { EXPECT_EQ(e.getObjectInvovled(), root()); });
    for (auto const& wrong : {plot, axes}) {
        expectThrow<exception::ErrorMergingWithCircularReference>(
            [&] { axes->mergeDescendants(wrong, "user"); },
            [&](auto const& e) {
                EXPECT_EQ(e.getObjectInvovled(), wrong);
                EXPECT_EQ(e.getCausingObject(), axes);
            });
    }
    expectThrow<exception::CanOnlyMergeTreeNodeWithStandaloneNode>(
        [&] { plot->mergeDescendants(axes, "user"); },
        [&](auto const& e) { EXPECT_EQ(e.getObjectInvovled(), axes); });
    EXPECT_THROW(plot->mergeDescendants({}, "user"), std::invalid_argument);
    EXPECT_EQ(userFiles(), before);
    EXPECT_EQ(events_, Events{});
}

TEST_F(Merge, FillsGapsAndOverwritesNothing) {
    auto const plot = product();
    plot->setAny("title", ustring(u"shadow"), "session");
    plot->setAny("width", 6, "user");
    auto const src = source();
    makeKey("width", 7, src);
    makeKey("title", ustring(u"mine"), src, "session");
    auto const newGroup = makeGroup("new", src);
    makeKey("k", std::vector<int>{1, 2}, newGroup);
    makeKey("empty", 1, newGroup);
    newGroup->unset("empty", "user");
    listen();
    plot->mergeDescendants(src, "user");

    EXPECT_EQ(valueOf<int>(plot, "width", "user"), 6);
    EXPECT_EQ(valueOf<ustring>(plot, "title", "user"), u"mine");
    EXPECT_EQ(valueOf<ustring>(plot, "title"), u"shadow");
    EXPECT_EQ(valueOf<std::vector<int>>(plot->getChild("new"), "k", "user"),
              (std::vector<int>{1, 2}));
    // Also a value that another level hides is told of.
    EXPECT_EQ(events_, (Events{"add new", "add empty", "add k", "value k", "value title"}));
    // The source is only read.
    EXPECT_NE(plot->getChild("new"), newGroup);
    EXPECT_EQ(newGroup->getParent(), src);
    EXPECT_EQ(valueOf<ustring>(src, "title", "session"), u"mine");

    std::string const saved = readUserFile("plot");
    resetInstances();
    EXPECT_EQ(valueOf<int>(product(), "width", "user"), 6);
    EXPECT_EQ(valueOf<std::vector<int>>(product()->getChild("new"), "k", "user"),
              (std::vector<int>{1, 2}));
    events_.clear();
    listen();
    product()->mergeDescendants(src, "user");
    EXPECT_EQ(events_, Events{});
    EXPECT_EQ(readUserFile("plot"), saved);
}

TEST_F(Merge, AnEmptySourceChangesNothingAndSaves) {
    product()->mergeDescendants(source(), "session");
    EXPECT_FALSE(userFileExists("plot"));
    product()->mergeDescendants(source(), "user");
    EXPECT_TRUE(userFileExists("plot"));
}

TEST_F(Merge, NamesOfGroupsThatDifferInCaseAreTwoGroups) {
    auto const src = source();
    makeKey("k", 1, makeGroup("AXES", src));
    product()->mergeDescendants(src, "user");
    EXPECT_EQ(valueOf<int>(product()->getChild("AXES"), "k"), 1);
    EXPECT_FALSE(product()->getChild("axes")->getChild("k"));
}

TEST_F(Merge, AConflictOrARefusedValueLeavesTreeAndFileAsTheyWere) {
    auto const plot = product();
    plot->setAny("width", 6, "user");
    productImpl()->setValidator(ZValidator("p", "f"));
    ScriptedValidators const script([](std::string const&, boost::shared_ptr<Settings const> const&,
                                       std::string const& name, boost::any const&) {
        if (name == "count") throw SettingsException("p:f", "not that", "f");
    });
    auto const before = userFiles();
    auto const shape = product()->getChildren();
    listen();

    struct Case {
        char const* what;
        std::function<void(NodePtr const&)> fill;
        std::function<void(std::function<void()> const&)> expectRefusal;
    };
    auto const diffAttr = [](char16_t const* attributes) {
        return [attributes](std::function<void()> const& merge) {
            expectThrow<exception::ErrorMergingNodesWithDiffAttr>(merge, [&](auto const& e) {
                EXPECT_EQ(e.getDiffAttrNameList(), attributes);
                EXPECT_TRUE(e.getSrcObject());
                EXPECT_TRUE(e.getDesObject());
            });
        };
    };
    for (Case const& c : std::vector<Case>{
             {"key onto group", [](NodePtr const& s) { makeKey("axes", 1, s); },
              diffAttr(u"isLeaf, ")},
             {"group onto key", [](NodePtr const& s) { makeGroup("width", s); },
              diffAttr(u"isLeaf, ")},
             {"new node without visibility",
              [](NodePtr const& s) {
                  boost::make_shared<SettingsImpl>("x", false, boost::none)->setParentInternal(s);
              },
              diffAttr(u"visible, ")},
             {"out of range", [](NodePtr const& s) { makeKey("width", 11, s); },
              [](auto const& merge) { expectThrow<exception::ValidationException>(merge); }},
             {"too many elements",
              [](NodePtr const& s) {
                  makeKey("width", std::vector<int>{1, 2}, s);
              },
              [](auto const& merge) { EXPECT_ANY_THROW(merge()); }},
             {"another type", [](NodePtr const& s) { makeKey("width", ustring(u"x"), s); },
              [](auto const& merge) {
                  expectThrow<ZENBAR::settings::core::DataTypeNotMatchException>(merge);
              }},
             {"refused by the validator in force above",
              [](NodePtr const& s) {
                  makeKey("count", 4, makeGroup("ticks", makeGroup("axes", s)));
              },
              [](auto const& merge) {
                  expectThrow<exception::ExceptionFromValidationFunction>(merge);
              }},
         }) {
        SCOPED_TRACE(c.what);
        auto const src = source();
        makeKey("added", 1, src);
        c.fill(src);
        c.expectRefusal([&] { plot->mergeDescendants(src, "user"); });
        EXPECT_EQ(product()->getChildren(), shape);
        EXPECT_EQ(valueOf<int>(plot, "width", "user"), 6);
        EXPECT_EQ(userFiles(), before);
    }
    EXPECT_EQ(events_, Events{});
}

TEST_F(Merge, AFirstValueIsNotHeldAgainstRangeNorReadOnlyFlag) {
    factoryFile("limits", "f.settings",
                keyXml("k", "int32", "<metadata><max>10</max></metadata>", " undef=\"true\"") +
                    R"(<key name="fixed" visible="true" readonly="true"><int32>)" + valueXml("1") +
                    "</int32></key>\n");
    auto const limits = product("limits");
    NodePtr const src = makeGroup("limits");
    makeKey("k", 50, src);
    makeKey("fixed", 2, src);
    limits->mergeDescendants(src, "user");
    EXPECT_EQ(valueOf<int>(limits, "k", "user"), 50);
    EXPECT_EQ(valueOf<int>(limits, "fixed", "user"), 2);
}

TEST_F(Merge, AdoptedValuesTakeTheShapeOfTheirKey) {
    factoryFile("shapes", "f.settings",
                keyXml("list", "int32", valueXml("1"), " maxArraySize=\"0\"") +
                    keyXml("one", "int32", valueXml("1")));
    NodePtr const src = makeGroup("shapes");
    makeKey("list", 7, src);
    makeKey("one", std::vector<int>{8}, src);
    makeKey("fresh", ustring(u"x"), src);
    product("shapes")->mergeDescendants(src, "user");
    EXPECT_EQ(valueOf<std::vector<int>>(product("shapes"), "list", "user"), std::vector<int>{7});
    EXPECT_EQ(valueOf<int>(product("shapes"), "one", "user"), 8);
    resetInstances();
    EXPECT_EQ(valueOf<std::vector<int>>(product("shapes"), "list", "user"), std::vector<int>{7});
    EXPECT_EQ(valueOf<int>(product("shapes"), "one", "user"), 8);
    EXPECT_EQ(valueOf<ustring>(product("shapes"), "fresh", "user"), u"x");
}

TEST_F(Merge, ARuntimeDefaultIsAdoptedWithTheLevelAndASecondOneRefused) {
    auto const plot = product();
    auto const src = source();
    makeKey("title", ustring(u"left behind"), src)
        ->setRunTimeDefaultInternal(CRunTimeDefault("defaults", "giveString"));
    listen();
    plot->mergeDescendants(src, "user");
    auto const title = nodeAt("plot.title");
    EXPECT_TRUE(title->isRuntimeOwningLevel("user"));
    EXPECT_TRUE(title->getAnyValueInternal("user", false).empty());
    EXPECT_EQ(valueOf<ustring>(plot, "title"), u"computed");
    EXPECT_EQ(events_, Events{"value title"});
    expectThrow<exception::MultipleRuntimeFuncError>(
        [&] { plot->mergeDescendants(src, "user"); },
        [&](auto const& e) { EXPECT_EQ(e.getCausingObject()->getName(), "title"); });
}

TEST_F(Merge, TheDefinitionOfAnExistingNodeStays) {
    auto const plot = product();
    auto const src = source();
    src->setVersionNumber(9);
    src->setValidatorInternal(CValidator("checks", "refuse"));
    NodePtr const width = makeKey("width", 3, src);
    SettingsKeyMetaData<boost::any> wider;
    width->setMetaDataInternal(wider);
    plot->mergeDescendants(src, "session");
    EXPECT_EQ(valueOf<int>(plot, "width", "session"), 3);
    EXPECT_EQ(plot->getVersionNumber().value_or(0), 4u);
    EXPECT_EQ(plot->getValidator().which(), 0);
    EXPECT_THROW(plot->setAny("width", 11, "session"), exception::ValidationException);
}

TEST_F(Merge, AListenerThatThrowsIsToldToTheCallerAndTheOthersHearAll) {
    auto const plot = product();
    auto const src = source();
    makeKey("a", 1, src);
    makeKey("b", 1, src);
    auto const angry = plot->addListener<SettingsAddNodeEvent>(
        boost::function<void(SettingsAddNodeEvent const&)>([](SettingsAddNodeEvent const& event) {
            throw std::runtime_error(event.getObj()->getName());
        }));
    listen();
    try {
        plot->mergeDescendants(src, "user");
        ADD_FAILURE() << "nothing was thrown";
    } catch (std::runtime_error const& error) {
        EXPECT_STREQ(error.what(), "a");
    }
    EXPECT_EQ(events_, (Events{"add a", "value a", "add b", "value b"}));
    EXPECT_EQ(valueOf<int>(plot, "b", "user"), 1);
    EXPECT_FALSE(userFileExists("plot"));
}

TEST_F(Merge, WorksOnAStandaloneTargetWithoutFileAndEvent) {
    NodePtr const target = makeGroup("alone");
    auto const src = source();
    makeKey("k", 1, makeGroup("g", src));
    target->mergeDescendants(src, "user");
    EXPECT_EQ(valueOf<int>(target->getChild("g"), "k", "user"), 1);
    EXPECT_TRUE(userFiles().empty());
}

// --- Copies and files -----------------------------------------------------------------------

TEST_F(Merge, ACopyIsDeepButForItsOwnValuesAndHasAnIdentityOfItsOwn) {
    auto const plot = productImpl();
    plot->setAny("width", 6, "user");
    NodePtr const copy = plot->clone();
    EXPECT_FALSE(copy->getParent());
    EXPECT_EQ(valueOf<int>(copy, "width", "user"), 6);
    EXPECT_EQ(valueOf<int>(copy, "width", "factory"), 5);
    EXPECT_EQ(valueOf<int>(copy->getChild("axes")->getChild("ticks"), "count"), 3);
    EXPECT_NE(copy->getImplNodeEventId(), plot->getImplNodeEventId());
    NodePtr const key = nodeAt("plot.width");
    EXPECT_TRUE(key->clone()->getAnyValueInternal("", true).empty());
    EXPECT_TRUE(plot->cloneSelf()->getChildren().empty());
    EXPECT_THROW(implRoot()->clone(), std::bad_cast);
    EXPECT_THROW(implRoot()->cloneSelf(), std::bad_cast);
}

TEST_F(Merge, TheFirstVisibilityAndVersionStay) {
    NodePtr const node = boost::make_shared<SettingsImpl>("n", false, boost::none);
    detail::UpgradeTreeLock lock;
    for (bool const visible : {true, false}) {
        node->setVisible(lock.get(), visible);
        EXPECT_TRUE(node->isVisible());
    }
    for (unsigned const version : {3u, 4u}) {
        node->setVersionNumberWithLock(lock.get(), version);
        EXPECT_EQ(node->getVersionNumber().value_or(0), 3u);
    }
}

TEST_F(Merge, AFileThatDoesNotFitLeavesTheTargetAndALine) {
    NodePtr const target = makeGroup("p");
    makeKey("k", 1, target);
    ustring errors;
    bool first = false;
    auto const merge = [&](NodePtr const& src, std::string const& level) {
        return SettingsImpl::mergeSettingsObject(target, src, level, &first, errors, u"/f");
    };
    NodePtr const nothing = merge({}, "factory");
    EXPECT_NE(nothing, target);
    EXPECT_EQ(valueOf<int>(nothing, "k", "user"), 1);
    EXPECT_FALSE(first);

    NodePtr const wrongType = makeGroup("p");
    makeKey("a", 1, wrongType);
    makeKey("k", ustring(u"x"), wrongType);
    EXPECT_EQ(merge(wrongType, "user"), target);
    EXPECT_FALSE(first);
    EXPECT_EQ(errors.rfind(u"/f\t", 0), 0u);
    EXPECT_EQ(errors.back(), u'\n');
    EXPECT_NE(errors.find(u"int32"), ustring::npos);

    errors.clear();
    EXPECT_THROW(merge(makeGroup("other"), "user"), exception::ErrorMergingNodesWithDiffAttr);
    NodePtr const fits = makeGroup("p");
    makeKey("k", 2, fits);
    EXPECT_EQ(valueOf<int>(merge(fits, "session"), "k", "session"), 2);
    EXPECT_TRUE(first);
    EXPECT_EQ(errors, u"");
    EXPECT_TRUE(target->getAny("k", "session").empty());
}

// --- Beside other threads -------------------------------------------------------------------

TEST_F(Merge, RunsBesideReadersAndWriters) {
    auto const plot = productImpl();
    auto const axes = nodeAt("plot.axes");
    turnOffSettingsSaving();
    constexpr int rounds = 60;
    std::atomic<int> merging{2};
    std::atomic<int> wrong{0};
    listen();
    concurrently(6, [&](int thread) {
        if (thread < 2) {
            for (int i = 0; i < rounds; ++i) {
                auto const src = source();
                auto const group = makeGroup("t" + std::to_string(thread), makeGroup("axes", src));
                makeKey("k" + std::to_string(i), i, group);
                makeKey("twin" + std::to_string(i), i, group);
                plot->mergeDescendants(src, "user");
            }
            --merging;
        }
        for (int i = 0; merging > 0; ++i) {
            if (thread == 2) plot->setAny("width", 1 + i % 10, "session");
            if (thread == 3) {
                NodePtr const extra = makeGroup("extra");
                makeKey("k", i, extra);
                extra->setParent(axes);
                axes->removeNode("extra");
            }
            if (thread < 4) continue;
            auto const count = plot->getSettingsByFullName("axes.ticks");
            if (!count || valueOf<int>(count, "count") != 3) ++wrong;
            for (auto const& child : axes->getChildren()) {
                if (child->isLeafNode()) continue;
                // What a merge brings is there as a whole.
                boost::shared_lock<boost::shared_mutex> const lock(*Settings::getTheRootMutex());
                std::set<std::string> names;
                for (auto const& key : child->getChildren())
                    names.insert(key->getName());
                for (std::string const& name : names) {
                    if (name[0] == 'k' && name != "k" && !names.count("twin" + name.substr(1))) {
                        ++wrong;
                    }
                }
            }
        }
    });
    EXPECT_EQ(wrong, 0);
    for (std::string const name : {"t0", "t1"}) {
        EXPECT_EQ(axes->getChild(name)->getChildren().size(), 2u * rounds);
    }
}

}  // namespace
