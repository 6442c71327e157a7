#include "ProductWorld.hpp"

#include <atomic>

#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/persistence/SettingsLevel.hpp>
#include <settingscore/persistence/writer/SaveSettingsFunctor.hpp>
#include <settingscore/roots/SettingsContext.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>

using namespace settings::core;
using namespace qbtest;
using exception::ErrorReadingSettingsData;

namespace {

class Load : public ProductWorld {
protected:
    /// Touches the product for the first time, which is to fail; the detail of the error.
    static std::string errorsOfFirstTouch(std::string const& name = "plot") {
        std::string detail;
        auto const touched = product(name);
        expectThrow<ErrorReadingSettingsData>(
            [&] { touched->getChild("width"); },
            [&](ErrorReadingSettingsData const& error) {
                EXPECT_EQ(error.getErrorCode(), exception::LazyLoadFailed);
                detail = qf::i18n::to_string(error.getDetailErrorMsg());
            });
        return detail;
    }
};

TEST_F(Load, LaterLevelsAddTheirValuesToTheDefinition) {
    installPlot();
    userFile("plot", keyXml("title", "string", valueXml("mine")) +
                         groupXml("axes", keyXml("own", "int32", valueXml("7"))));
    auto const plot = product();
    EXPECT_TRUE(plot->getAny("width", "user").empty());
    EXPECT_EQ(valueOf<int>(plot, "width"), 5);
    EXPECT_EQ(valueOf<int>(plot, "width", "factory"), 5);
    EXPECT_EQ(valueOf<ustring>(plot, "title", "user"), u"mine");
    EXPECT_TRUE(plot->getAny("title", "factory").empty());
    EXPECT_EQ(valueOf<int>(plot->getChild("axes"), "own", "user"), 7);
    EXPECT_EQ(plot->getVersionNumber().value_or(0), 4u);
    EXPECT_TRUE(plot->isVisible());
}

TEST_F(Load, AFaultyFileIsToldOnceAndCostsItsOwnContributionAlone) {
    struct Case {
        char const* what;
        std::string body;
        char const* partOfDetail;
    };
    std::string const good = keyXml("title", "string", valueXml("mine"));
    for (Case const& c : std::vector<Case>{
             {"not well-formed", good + "<key", ""},
             {"broken number", good + keyXml("width", "int32", valueXml("many")), "many"},
             {"number too large", good + keyXml("width", "int8", valueXml("300")), ""},
             {"out of the factory's range", good + keyXml("width", "int32", valueXml("11")),
              "predefined range"},
             {"another type", good + keyXml("width", "string", valueXml("x")), "int32"},
             {"a key in place of a group", good + keyXml("axes", "int32", valueXml("1")),
              "different attributes' value"},
             {"the same key twice", good + good, ""},
         }) {
        SCOPED_TRACE(c.what);
        installPlot();
        std::string const path = userFile("plot", c.body).string();
        std::string const before = readUserFile("plot");
        resetInstances();

        std::string const detail = errorsOfFirstTouch();
        EXPECT_EQ(detail.rfind(path + "\t", 0), 0u) << detail;
        EXPECT_EQ(std::count(detail.begin(), detail.end(), '\n'), 1) << detail;
        EXPECT_EQ(detail.back(), '\n');
        EXPECT_NE(detail.find(c.partOfDetail, path.size()), std::string::npos) << detail;

        EXPECT_EQ(valueOf<int>(product(), "width"), 5);
        EXPECT_TRUE(product()->getAny("title", "").empty());
        EXPECT_EQ(product()->getChildren().size(), 3u);
        EXPECT_EQ(readUserFile("plot"), before);
    }
}

TEST_F(Load, EachFaultyFileHasItsLineAndTheOthersAreMerged) {
    factoryFile("plot", "a.settings", keyXml("first", "int32", valueXml("1")));
    factoryText("plot", "b.settings", "no settings");
    factoryFile("plot", "c.settings",
                keyXml("first", "int32", valueXml("2")) + keyXml("third", "int32", valueXml("3")));
    factoryText("plot", "d.settings", settingsXml("other", keyXml("x", "int32", valueXml("1"))));
    userText("plot.settings", "");
    std::string const detail = errorsOfFirstTouch();
    std::vector<std::string> lines;
    for (std::size_t from = 0, end; (end = detail.find('\n', from)) != std::string::npos;
         from = end + 1) {
        lines.push_back(detail.substr(from, end - from));
    }
    ASSERT_EQ(lines.size(), 3u) << detail;
    EXPECT_EQ(lines[0].rfind((factoryDir() / "plot/b.settings").string() + "\t", 0), 0u);
    EXPECT_EQ(lines[1], (factoryDir() / "plot/d.settings").string() +
                            "\tThe nodes should be the same, but they have different attributes' "
                            "value. Cannot merge them.");
    EXPECT_EQ(lines[2].rfind(userFilePath("plot").string() + "\t", 0), 0u);
    EXPECT_EQ(valueOf<int>(product(), "first"), 1);  // The first file that has a value wins.
    EXPECT_EQ(valueOf<int>(product(), "third"), 3);
}

TEST_F(Load, ASecondRuntimeDefaultIsToldAndTheRestOfItsFileUpToThereStays) {
    std::string const computed =
        R"(<runtimedefault type="C" packagename="defaults" functionname="giveDouble"/>)";
    factoryFile("plot", "plot.settings", keyXml("k", "double", computed));
    userFile("plot", keyXml("a", "int32", valueXml("1")) + keyXml("k", "double", computed) +
                         keyXml("z", "int32", valueXml("2")));
    EXPECT_EQ(errorsOfFirstTouch(),
              userFilePath("plot").string() +
                  "\tThere are multiple runtime function defined on this key. This is not "
                  "allowed.\n");
    EXPECT_EQ(valueOf<int>(product(), "a"), 1);
    EXPECT_FALSE(product()->getChild("z"));
    EXPECT_TRUE(nodeAt("plot.k")->isRuntimeOwningLevel("factory"));
}

TEST_F(Load, AProductWhoseFilesVanishedIsToldOnceAndStaysEmpty) {
    installPlot();
    auto const plot = product();
    std::filesystem::remove_all(factoryDir() / "plot");
    EXPECT_EQ(errorsOfFirstTouch(),
              "There is no Settings files associated with this product node: plot. The Settings "
              "files may be deleted after ZENBAR started up. Please restart ZENBAR to fully solve "
              "this issue.\n");
    EXPECT_TRUE(plot->getChildren().empty());
    installPlot();
    EXPECT_TRUE(plot->getChildren().empty());
}

TEST_F(Load, AFailureToListTheFilesIsRepeatedUntilItWorks) {
    installPlot();
    auto const plot = product();
    ustring const unreachable = u"/" + ustring(300, u'a');  // A name that is too long.
    SettingsContext::setSettingsDirectories(BlessedZcrID, boost::none, boost::none, unreachable);
    for (int i = 0; i < 2; ++i) {
        EXPECT_THROW(plot->getChild("width"), qf::filesystem::FsysExceptionBase);
    }
    SettingsContext::setSettingsDirectories(BlessedZcrID, boost::none, boost::none, boost::none);
    EXPECT_EQ(valueOf<int>(plot, "width"), 5);
}

TEST_F(Load, OnlyWhatNeedsTheContentLoads) {
    using Touch = std::function<void(ZSettings&)>;
    struct Case {
        char const* what;
        bool loads;
        Touch touch;
    };
    boost::any const one = 1;
    for (Case const& c : std::vector<Case>{
             {"getName", false, [](ZSettings& p) { p.getName(); }},
             {"getFullName", false, [](ZSettings& p) { p.getFullName(); }},
             {"getParent", false, [](ZSettings& p) { p.getParent(); }},
             {"isLeafNode", false, [](ZSettings& p) { p.isLeafNode(); }},
             {"isVisible", false, [](ZSettings& p) { p.isVisible(); }},
             {"isReadOnly", false, [](ZSettings& p) { p.isReadOnly(); }},
             {"isTopLevelNode", false, [](ZSettings& p) { p.isTopLevelNode(); }},
             {"getZcrID", false, [](ZSettings& p) { p.getZcrID(); }},
             {"getChild", true, [](ZSettings& p) { p.getChild("k"); }},
             {"getChildren", true, [](ZSettings& p) { p.getChildren(); }},
             {"getAny", true, [](ZSettings& p) { p.getAny("k", ""); }},
             {"isSet", true, [](ZSettings& p) { p.isSet("k", "user"); }},
             {"setAny", true, [&](ZSettings& p) { p.setAny("k", one, "user"); }},
             {"validateAny", true, [&](ZSettings& p) { p.validateAny("k", one); }},
             {"unset", true, [](ZSettings& p) { p.unset("k", "user"); }},
             {"getDataTypeIndex", true, [](ZSettings& p) { p.getDataTypeIndex("k"); }},
             {"getAnyMetaData", true, [](ZSettings& p) { p.getAnyMetaData("k"); }},
             {"removeKey", true, [](ZSettings& p) { p.removeKey("k"); }},
             {"removeNode", true, [](ZSettings& p) { p.removeNode("k"); }},
             {"removal", true,
              [](ZSettings& p) {
                  boost::dynamic_pointer_cast<ZSettings>(p.getParent())->removeNode("plot");
              }},
             {"setParent below it", true,
              [](ZSettings& p) {
                  boost::make_shared<SettingsImpl>("x", true, true)
                      ->setParent(p.getThisObjectImpl());
              }},
             {"merge", true,
              [](ZSettings& p) {
                  p.mergeDescendants(boost::make_shared<SettingsImpl>("x", false, true), "user");
              }},
             {"export", true,
              [](ZSettings& p) {
                  Settings::exportSettings({p.getThisObjectImpl()}, u"/nowhere/x", "user");
              }},
         }) {
        SCOPED_TRACE(c.what);
        factoryText("plot", "plot.settings", "no settings");
        resetInstances();
        auto const plot = boost::dynamic_pointer_cast<ZSettings>(product());
        bool loaded = false;
        try {
            c.touch(*plot);
        } catch (ErrorReadingSettingsData const&) {
            loaded = true;
        }
        EXPECT_EQ(loaded, c.loads);
    }
}

TEST_F(Load, AnotherLoaderFillsTheNodeAndReports) {
    installPlot();
    int calls = 0;
    SettingsImpl::setLoadCallOnceFunc([&](SettingsImpl* node, ustring& errors) {
        if (!node->isTopLevelNode()) return;
        if (++calls == 1) throw std::runtime_error("not yet");
        makeKey("made", 1, node->getThisObjectImpl());
        errors += u"half of it";
    });
    auto const plot = product();
    EXPECT_THROW(plot->getChildren(), std::runtime_error);
    expectThrow<ErrorReadingSettingsData>(
        [&] { plot->getChildren(); },
        [](ErrorReadingSettingsData const& e) { EXPECT_EQ(e.getDetailErrorMsg(), u"half of it"); });
    EXPECT_EQ(valueOf<int>(plot, "made"), 1);
    EXPECT_EQ(plot->getChildren().size(), 1u);
    EXPECT_EQ(calls, 2);
}

TEST_F(Load, AProductMadeInMemoryIsNotReplacedByItsFile) {
    NodePtr const made = makeGroup("made");
    makeKey("k", 1, made);
    made->setParent(root());
    ASSERT_TRUE(userFileExists("made"));
    userFile("made", keyXml("k", "int32", valueXml("2")) + keyXml("x", "int32", valueXml("2")));
    EXPECT_EQ(valueOf<int>(made, "k"), 1);
    EXPECT_FALSE(made->getChild("x"));

    auto const path = writeFile(folder() / "in.settings",
                                settingsXml("imported", keyXml("k", "int32", valueXml("3"))));
    auto const imported = Settings::importAsStandaloneObject(toUString(path));
    boost::dynamic_pointer_cast<ZSettings>(imported)->setParent(root());
    userFile("imported", keyXml("k", "int32", valueXml("4")));
    EXPECT_EQ(valueOf<int>(product("imported"), "k"), 3);
}

// --- Loads that meet ------------------------------------------------------------------------

TEST_F(Load, ManyThreadsThatTouchAProductFirstLoadItOnce) {
    installPlot();
    userText("plot.settings", "no settings");
    std::atomic<int> loads{0};
    SettingsImpl::setLoadCallOnceFunc([&](SettingsImpl* node, ustring& errors) {
        if (node->isTopLevelNode()) ++loads;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        node->loadSettingsOnce(errors);
    });
    auto const plot = product();
    std::atomic<int> told{0};
    std::atomic<int> wrong{0};
    concurrently(8, [&](int) {
        try {
            if (!plot->getChild("width")) ++wrong;
        } catch (ErrorReadingSettingsData const&) {
            ++told;
        }
        if (valueOf<int>(plot, "width") != 5) ++wrong;
    });
    EXPECT_EQ(loads, 1);
    EXPECT_EQ(told, 1);
    EXPECT_EQ(wrong, 0);
}

TEST_F(Load, CheckersThatReadTheProductsBeingLoadedDoNotHang) {
    std::string const rule = R"(<validationfunc type="ZENBAR" packagename="p" functionname="f"/>)";
    for (std::string const name : {"one", "two"}) {
        factoryFile(name, "f.settings", rule + keyXml("k", "int32", valueXml("1")));
        userFile(name, keyXml("k", "int32", valueXml("2")));
    }
    auto const tree = root();
    std::atomic<int> arrived{0};
    ScriptedValidators const script([&](std::string const&,
                                        boost::shared_ptr<Settings const> const&,
                                        std::string const&, boost::any const&) {
        // Both are in the midst of their loads when they look at each other and at themselves.
        ++arrived;
        for (int i = 0; i < 200 && arrived < 2; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        for (std::string const name : {"one", "two"})
            tree->getChild(name)->getChildren();
    });
    concurrently(2, [&](int i) { tree->getChild(i == 0 ? "one" : "two")->getChildren(); });
    EXPECT_EQ(arrived, 2);
    for (std::string const name : {"one", "two"}) {
        EXPECT_EQ(valueOf<int>(tree->getChild(name), "k", "user"), 2);
    }
}

TEST_F(Load, AReaderThatHoldsTheRootMutexMayTouchAFreshProductWhileAWriterWaits) {
    installPlot();
    factoryFile("other", "f.settings", keyXml("k", "int32", valueXml("1")));
    auto const other = product("other");
    auto const plot = product();
    other->getChildren();
    std::atomic<bool> held{false};
    concurrently(2, [&](int i) {
        if (i == 0) {
            boost::shared_lock<boost::shared_mutex> const lock(*Settings::getTheRootMutex());
            held = true;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            EXPECT_EQ(valueOf<int>(plot, "width"), 5);
        } else {
            while (!held)
                std::this_thread::yield();
            other->setAny("k", 2, "session");
        }
    });
    EXPECT_EQ(valueOf<int>(other, "k"), 2);
}

// --- Save points ----------------------------------------------------------------------------

TEST_F(Load, EachChangeSavesTheLevelAndNodeThatItIsFor) {
    installPlot();
    std::vector<std::string> saves;
    SettingsImpl::setSaveFunc(
        [&](SettingsLevel const* const level, NodePtr const& node, SaveSettingsFunctor const&) {
            saves.push_back(level->levelName() + " " + node->nameWithLock());
        });
    auto const plot = productImpl();
    auto const axes = nodeAt("plot.axes");
    auto const tree = implRoot();
    NodePtr const added = makeGroup("added");
    makeKey("k", 1, added);
    NodePtr const src = makeGroup("plot");
    makeKey("title", ustring(u"t"), src, "session");
    struct Case {
        char const* what;
        std::function<void()> change;
        std::vector<std::string> saves;
    };
    using Saves = std::vector<std::string>;
    for (Case const& c : std::vector<Case>{
             {"set", [&] { plot->setAny("width", 6, "user"); }, Saves{"user width"}},
             {"set of the same", [&] { plot->setAny("width", 6, "user"); }, Saves{}},
             {"set in the session", [&] { plot->setAny("width", 7, "session"); },
              Saves{"session width"}},
             {"unset", [&] { plot->unset("width", "user"); }, Saves{"user plot"}},
             {"attach", [&] { added->setParent(axes); }, Saves{"user added"}},
             {"remove a group", [&] { axes->removeNode("added"); }, Saves{"user axes"}},
             {"merge", [&] { plot->mergeDescendants(src, "user"); }, Saves{"user plot"}},
             {"merge in the session", [&] { plot->mergeDescendants(src, "session"); }, Saves{}},
             {"remove a key", [&] { plot->removeKey("title"); }, Saves{"user plot"}},
             {"attach a product", [&] { added->setParent(tree); }, Saves{"user added"}},
             {"remove a product", [&] { tree->removeNode("added"); }, Saves{}},
         }) {
        SCOPED_TRACE(c.what);
        saves.clear();
        c.change();
        EXPECT_EQ(saves, c.saves);
    }
}

TEST_F(Load, SavingIsSwitchedOffAndOnAndCanBeMissing) {
    installPlot();
    auto const plot = product();
    plot->setAny("width", 6, "user");
    auto const saved = userFiles();
    turnOffSettingsSaving();
    plot->setAny("width", 7, "user");
    EXPECT_EQ(valueOf<int>(plot, "width"), 7);
    EXPECT_EQ(userFiles(), saved);
    turnOnSettingsSaving();
    EXPECT_EQ(userFiles(), saved);
    plot->setAny("title", ustring(u"t"), "user");
    resetInstances();
    EXPECT_EQ(valueOf<int>(product(), "width"), 7);
    EXPECT_EQ(valueOf<ustring>(product(), "title"), u"t");

    SettingsImpl::setSaveFunc({});
    try {
        product()->setAny("width", 8, "user");
        ADD_FAILURE() << "nothing was thrown";
    } catch (boost::bad_function_call const& error) {
        EXPECT_STREQ(error.what(), "call to empty boost::function");
    }
    EXPECT_EQ(valueOf<int>(product(), "width"), 8);
}

TEST_F(Load, ExplicitSavesRefuseOrPassOverWhatTheyCannotDo) {
    installPlot();
    auto const plot = productImpl();
    plot->getChildren();
    NodePtr const standalone = makeGroup("alone");
    standalone->updateSettingsFile("user");
    standalone->updateSettingsFile("factory");
    plot->updateSettingsFile("session");
    plot->saveThisSubTree("session");
    plot->saveThisSubTree("nonsense");
    EXPECT_TRUE(userFiles().empty());
    EXPECT_THROW(plot->updateSettingsFile("nonsense"), exception::UnSupportedLevel);
    expectThrow<exception::CantModifyValuesOnReadOnlyLevel>(
        [&] { plot->saveThisSubTree("factory"); });
    nodeAt("plot.axes.ticks.count")->updateSettingsFile("user");
    EXPECT_EQ(userFiles().size(), 1u);
    EXPECT_TRUE(userFileExists("plot"));
}

TEST_F(Load, AFailingSaveReachesTheCallerAndMemoryKeepsTheChange) {
    installPlot();
    auto const plot = productImpl();
    auto const axes = nodeAt("plot.axes");
    plot->setAny("title", ustring(u"t"), "user");
    NodePtr const added = makeGroup("added");
    NodePtr const src = makeGroup("plot");
    makeKey("new", 1, src);
    SettingsImpl::setSaveFunc(
        [](SettingsLevel const* const, NodePtr const&, SaveSettingsFunctor const&) {
            throw std::runtime_error("no space");
        });
    EXPECT_THROW(plot->setAny("width", 6, "user"), std::runtime_error);
    EXPECT_EQ(valueOf<int>(plot, "width", "user"), 6);
    EXPECT_THROW(plot->unset("title", "user"), std::runtime_error);
    EXPECT_FALSE(plot->isSet("title", "user"));
    EXPECT_THROW(added->setParent(axes), std::runtime_error);
    EXPECT_TRUE(axes->getChild("added"));
    EXPECT_THROW(axes->removeNode("added"), std::runtime_error);
    EXPECT_FALSE(axes->getChild("added"));
    EXPECT_THROW(plot->mergeDescendants(src, "user"), std::runtime_error);
    EXPECT_EQ(valueOf<int>(plot, "new"), 1);
}

}  // namespace
