#include <settingscore/roots/SettingsContext.hpp>

#include <support/ProductWorld.hpp>

using namespace qbtest;
using exception::ErrorReadingSettingsData;

namespace {

class Load : public ProductWorld {
protected:
    /// Touches the product for the first time, which is to fail; the lines of the error's detail.
    static Texts errorsOfFirstTouch() {
        Texts lines;
        auto const plot = product();
        expectThrow<ErrorReadingSettingsData>(
            [&] { plot->getChild("width"); },
            [&](auto const& e) {
                EXPECT_EQ(e.getErrorCode(), exception::LazyLoadFailed);
                std::istringstream detail(qf::i18n::to_string(e.getDetailErrorMsg()));
                for (std::string line; std::getline(detail, line);)
                    lines.push_back(line);
            });
        return lines;
    }
};

TEST_F(Load, AFaultyFileIsToldOnceAndCostsItsOwnContributionAlone) {
    installPlot();
    std::string const good = keyXml("title", "string", valueXml("mine"));
    for (auto const& [body, partOfDetail] : std::vector<std::pair<std::string, std::string>>{
             {"<key", ""},
             {keyXml("width", "int32", valueXml("many")), "many"},
             {intKey("width", "11"), "predefined range"},
             {keyXml("width", "string", valueXml("x")), "int32"},
             {intKey("axes", "1"), "different attributes' value"},
             {good, ""},  // The same key twice.
         }) {
        std::string const path = userFile("plot", good + body).string();
        auto const before = userFiles();
        resetInstances();
        Texts const lines = errorsOfFirstTouch();
        ASSERT_EQ(lines.size(), 1u) << body;
        EXPECT_EQ(lines[0].rfind(path + "\t", 0), 0u) << lines[0];
        EXPECT_NE(lines[0].find(partOfDetail, path.size()), std::string::npos) << lines[0];
        EXPECT_EQ(contents(product()), "axes(grid=bool 1 ticks(count=3)) title=- width=5");
        EXPECT_EQ(userFiles(), before);
    }
}

TEST_F(Load, TheFirstFileWithAValueWinsAndASecondDefaultEndsItsFile) {
    std::string const computed =
        keyXml("r", "double",
               R"(<runtimedefault type="C" packagename="defaults" functionname="giveDouble"/>)");
    // A file that is dropped defines nothing: the next one does.
    factoryText("plot", "0.settings", settingsXml("other", intKey("first", "0")));
    factoryFile("plot", "a.settings", intKey("first", "1") + computed);
    factoryFile("plot", "b.settings", intKey("first", "2") + intKey("second", "2"));
    // What stands before the second default stays.
    userFile("plot", intKey("a", "1") + computed + intKey("z", "2"));
    EXPECT_EQ(errorsOfFirstTouch(),
              (Texts{(factoryDir() / "plot/0.settings").string() +
                         "\tThe nodes should be the same, but they have different attributes' "
                         "value. Cannot merge them.",
                     userFilePath("plot").string() +
                         "\tThere are multiple runtime function defined on this key. This is "
                         "not allowed."}));
    EXPECT_EQ(contents(product()), "a=1 first=1 r=double 2.5 second=2");
}

TEST_F(Load, FilesThatCannotBeListedAreTriedAgainAndVanishedOnesAreToldOnce) {
    installPlot();
    auto const plot = product();
    ustring const unreachable = u"/" + ustring(300, u'a');  // A name that is too long.
    SettingsContext::setSettingsDirectories(BlessedZcrID, {}, {}, unreachable);
    for (int i = 0; i < 2; ++i)
        EXPECT_THROW(plot->getChild("width"), qf::filesystem::FsysExceptionBase);
    SettingsContext::setSettingsDirectories(BlessedZcrID, {}, {}, {});
    EXPECT_EQ(valueOf<int>(plot, "width"), 5);

    auto const second = freshRoot()->getChild("plot");
    std::filesystem::remove_all(factoryDir() / "plot");
    EXPECT_EQ(errorsOfFirstTouch(),
              Texts{"There is no Settings files associated with this product node: plot. The "
                    "Settings files may be deleted after ZENBAR started up. Please restart ZENBAR "
                    "to fully solve this issue."});
    EXPECT_TRUE(second->getChildren().empty());

    // Files that are there and cannot be read have their lines, and nothing more.
    std::string const factory = factoryText("plot", "f.settings", "<settings").string();
    std::string const user = userText("plot.settings", "").string();
    resetInstances();
    Texts const lines = errorsOfFirstTouch();
    ASSERT_EQ(lines.size(), 2u) << lines.back();
    EXPECT_EQ(lines[0].rfind(factory + "\t", 0), 0u) << lines[0];
    EXPECT_EQ(lines[1].rfind(user + "\t", 0), 0u) << lines[1];
}

TEST_F(Load, OnlyWhatNeedsTheContentLoads) {
    factoryText("plot", "plot.settings", "no settings");
    NodePtr const other = makeGroup("x");
    using P = ZSettings&;
    std::vector<std::function<void(P)>> const touches{
        [](P p) { p.getChild("k"); },
        [](P p) { p.getAny("k", ""); },
        [](P p) { p.setAny("k", 1, "user"); },
        [](P p) { p.unset("k", "user"); },
        [](P p) { p.removeNode("k"); },
        [](P) { implRoot()->removeNode("plot"); },
        [&](P p) { other->setParent(p.getThisObjectImpl()); },
        [&](P p) { p.mergeDescendants(other, "user"); },
        [](P p) { Settings::exportSettings({p.getThisObjectImpl()}, u"/none/x", "user"); }};
    for (auto const& touch : touches) {
        auto const plot = boost::dynamic_pointer_cast<ZSettings>(freshRoot()->getChild("plot"));
        EXPECT_FALSE(plot->isVisible());
        EXPECT_THROW(touch(*plot), ErrorReadingSettingsData);
    }
}

// --- Loads that meet ------------------------------------------------------------------------

TEST_F(Load, OfManyThreadsOneLoadsAndIsToldAndOneThatThrowsIsReplacedByAnother) {
    installPlot();
    userText("plot.settings", "no settings");
    std::atomic<int> loads{0};
    SettingsImpl::setLoadCallOnceFunc([&](SettingsImpl* node, ustring& errors) {
        if (node->isTopLevelNode() && ++loads == 1) throw std::runtime_error("no disk");
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        node->loadSettingsOnce(errors);
    });
    auto const plot = product();
    std::atomic<int> failed{0};
    std::atomic<int> told{0};
    concurrently(8, [&](int) {
        try {
            EXPECT_TRUE(plot->getChild("width"));
        } catch (ErrorReadingSettingsData const&) {
            ++told;
        } catch (std::runtime_error const&) {
            ++failed;
            return;
        }
        EXPECT_EQ(shown(plot->getAny("width", "")), "5");
    });
    EXPECT_EQ(loads, 2);
    EXPECT_EQ(failed, 1);
    EXPECT_EQ(told, 1);
}

TEST_F(Load, LoadsThatWaitForEachOtherInACircleEnd) {
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
        judgeWith([&](std::string const& next, Parent const& self, auto&&...) {
            // None goes on before all loads are under way.
            ++inside;
            while (inside < 3)
                std::this_thread::yield();
            EXPECT_FALSE(tree->getSettingsByFullName(self->getFullName())) << "not there yet";
            Parent const group = tree->getSettingsByFullName(next + ".g");
            EXPECT_EQ(group ? shown(group->getAny("k", "user")) : "2", "2");
        });
        concurrently(3, [&](int thread) {
            EXPECT_EQ(shownAt("p" + std::to_string(thread) + ".g.k", "user"), "2");
        });
        EXPECT_EQ(inside, 3);
    }
}

TEST_F(Load, AJavaValidatorWaitsForALoadUnlessThatWaitsForIt) {
    std::string const rule = "<validationfunc type='JAVA' packagename='p' functionname='";
    factoryFile("judged", "f.settings", groupXml("g", rule + "outer'/>" + intKey("k", "1")));
    for (bool const loaderWantsJava : {false, true}) {
        std::string const own = loaderWantsJava ? rule + "inner'/>" : std::string();
        factoryFile("read", "f.settings", groupXml("g", own + intKey("k", "1")));
        userFile("read", groupXml("g", intKey("k", "2")));
        freshRoot();
        Parent const judged = at("judged.g");
        Parent const read = root()->getChild("read");
        std::atomic<bool> loading{false};
        std::atomic<bool> validating{false};
        SettingsImpl::setLoadCallOnceFunc([&](SettingsImpl* node, ustring& errors) {
            if (node->getName() == "read") {
                loading = true;
                while (!validating)
                    std::this_thread::yield();
                // Long enough for the validator to come to its wait.
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
            }
            node->loadSettingsOnce(errors);
        });
        std::string seen;
        JValidator::setJValProxy([&](auto&, std::string const& function, auto&&...) {
            if (function == "inner") return;
            validating = true;
            seen = std::to_string(read->getChildren().size());
        });
        concurrently(2, [&](int thread) {
            if (thread == 0) {
                read->getChildren();
                return;
            }
            while (!loading)
                std::this_thread::yield();
            judged->validateAny("k", 3);
        });
        EXPECT_EQ(seen, loaderWantsJava ? "0" : "1");
        EXPECT_EQ(shownAt("read.g.k"), "2");
    }
}

TEST_F(Load, AProductsOwnValidatorJudgesNothing) {
    std::string const rule =
        "<validationfunc type='C' packagename='checks' functionname='refuse'/>";
    factoryFile("strict", "f.settings", rule + intKey("k", "1") + groupXml("g", intKey("k", "1")));
    factoryFile("strict", "g.settings", rule + intKey("l", "1"));
    userFile("strict", intKey("k", "2"));
    EXPECT_EQ(shownAt("strict.k"), "2");
    EXPECT_EQ(setting("strict.g.k", 3), "done");
    freshRoot();
    EXPECT_EQ(shownAt("strict.g.k"), "3") << "what a set accepts, a load accepts";
}

TEST_F(Load, AReaderThatHoldsTheRootMutexMayTouchAFreshProductWhileAWriterWaits) {
    installPlot();
    factoryFile("other", "f.settings", intKey("k", "1"));
    auto const other = product("other");
    auto const plot = product();
    other->getChildren();
    std::atomic<bool> held{false};
    concurrently(2, [&](int i) {
        while (i == 1 && !held)
            std::this_thread::yield();
        if (i == 1) return other->setAny("k", 2, "session");
        boost::shared_lock<boost::shared_mutex> const lock(*Settings::getTheRootMutex());
        held = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(valueOf<int>(plot, "width"), 5);
    });
    EXPECT_EQ(valueOf<int>(other, "k"), 2);
}

TEST_F(Load, ASaveOnDemandWritesWhatWasNotSaved) {
    installPlot();
    EXPECT_THROW(productImpl()->updateSettingsFile("nonsense"), exception::UnSupportedLevel);
    turnOffSettingsSaving();
    setting("plot.width", 7);
    turnOnSettingsSaving();
    EXPECT_TRUE(userFiles().empty());
    at("plot.axes.ticks.count")->updateSettingsFile("user");
    freshRoot();
    EXPECT_EQ(shownAt("plot.width"), "7");
}

}  // namespace
