#include <queue>

#include <settingscore/roots/SettingsContext.hpp>
#include <support/ProductWorld.hpp>

using namespace qbtest;

namespace {

using Connection = std::unique_ptr<corebus::msg_svc::eventmgr::Connection>;
using Listener = boost::function<void(SettingsEvent const&)>;
using Queue = std::queue<boost::shared_ptr<SettingsEvent const>>;

/// Names of the nodes that the queued events are about.
Texts drained() {
    Queue queue;
    ZSettings::eventQueue(queue, BlessedZcrID);
    Texts texts;
    for (; !queue.empty(); queue.pop())
        texts.push_back(queue.front()->getObj()->getName());
    return texts;
}

class Events : public ProductWorld {
protected:
    Events() { installPlot(); }

    /// Notes what a listener at the path hears, as "PATH:NAME".
    template <class T>
    void listenAt(std::string const& path) {
        auto const node = path.empty() ? root() : root()->getSettingsByFullName(path);
        connections_.push_back(node->addListener<T>([this, path](T const& e) { note(path, e); }));
    }
    void note(std::string const& path, SettingsEvent const& event) {
        heard_ += path + ":" + event.getObj()->getName() + " ";
    }
    std::string heard_;
    std::vector<Connection> connections_;
};

TEST_F(Events, AChangedValueIsHeardFromTheKeyUpwardsAlone) {
    for (char const* path : {"", "plot.axes.ticks", "plot.axes.ticks.count", "plot.width"})
        listenAt<SettingsValueChangeEvent>(path);
    listenAt<SettingsAddNodeEvent>("plot.axes");
    auto const untyped =
        product()->addListener(Listener([&](SettingsEvent const& e) { note("untyped", e); }));
    // A tag subscribes at the host's own event manager as well.
    auto const tags = product()->getFilterTagStrings<SettingsValueChangeEvent>();
    auto const host = zbutil::eventmgr::createLocalEventMgr()->subscribe<SettingsValueChangeEvent>(
        [&](SettingsEvent const& e) { note("host", e); }, tags.begin(), tags.end());
    makeGroup("added")->setParent(product());
    setting("plot.axes.ticks.count", 6, "session");
    EXPECT_EQ(heard_,
              ":count plot.axes.ticks:count plot.axes.ticks.count:count untyped:count host:count ");
}

TEST_F(Events, NodesThatComeAndGoAreHeardFromTheirParentUpwardsAndQueued) {
    auto const axes = at("plot.axes");
    auto const tree = implRoot();
    for (char const* path : {"", "plot.axes", "plot.axes.ticks"})
        listenAt<SettingsEvent>(path);
    listenAt<SettingsRemoveNodeEvent>("plot");
    product()->setAny("width", 7, "session");
    EXPECT_EQ(drained(), Texts{});

    tree->enableEventQueue(true);
    heard_.clear();
    NodePtr const added = makeGroup("added");
    makeKey("k", 1, makeGroup("inner", added));
    added->setParent(axes);
    makeKey("key", 1, {})->setParent(axes);
    axes->removeKey("key");
    axes->removeNode("added");
    EXPECT_EQ(heard_,
              ":added plot.axes:added :key plot.axes:key :key plot.axes:key plot:key "
              ":added plot.axes:added plot:added ");

    // Events keep what they are about.
    Queue queue;
    ZSettings::eventQueue(queue, BlessedZcrID);
    ASSERT_EQ(queue.size(), 4u);
    EXPECT_EQ(drained(), Texts{});
    auto const& last = dynamic_cast<SettingsRemoveNodeEvent const&>(*queue.back());
    std::unique_ptr<SettingsRemoveNodeEvent> const copy(last.clone());
    EXPECT_EQ(copy->getObj(), added);
    EXPECT_EQ(copy->getParentObj(), axes);
    EXPECT_EQ(shown(added->getChild("inner")->getAny("k", "")), "1");
    tree->enableEventQueue(false);
    product()->setAny("width", 8, "session");
    EXPECT_EQ(drained(), Texts{});
}

TEST_F(Events, AListenerBelongsToTheNodeWhereverItGoes) {
    NodePtr const group = makeGroup("group");
    EXPECT_FALSE(group->addListener(Listener([](SettingsEvent const&) {})));
    makeKey("k", 1, group);
    auto const axes = at("plot.axes");
    group->setParent(axes);
    Heard heard(group);
    axes->removeNode("group");
    group->setAny("k", 2, "user");
    group->clone()->setParent(axes);
    axes->getChild("group")->setAny("k", 4, "user");
    EXPECT_EQ(heard.take(), "");
    EXPECT_EQ(valueOf<int>(group, "k"), 2) << "a copy is deep";
    group->setParent(product());
    group->setAny("k", 3, "user");
    EXPECT_EQ(heard.take(), "value k");
}

// --- Listeners that misbehave -----------------------------------------------------------------

TEST_F(Events, AListenerOrASaveThatFailsReachesTheCallerAndTheChangeStays) {
    userFile("p", intKey("k", "1"));
    auto const files = userFiles();
    NodePtr const src = makeGroup("p");
    makeKey("a", 1, src);
    makeKey("b", 1, src);
    SettingsImpl::setSaveFunc([](auto&&...) { throw std::runtime_error("the disk is full"); });
    for (bool const bySave : {false, true}) {
        freshRoot();
        NodePtr const p = at("p");
        auto const angry = p->addListener<SettingsEvent>([&](SettingsEvent const& event) {
            if (!bySave) throw std::runtime_error(event.getObj()->getName());
        });
        Heard heard(p);
        using Row = std::tuple<std::function<void()>, std::string, std::string>;
        for (auto const& [change, told, left] : std::vector<Row>{
                 {[&] { p->setAny("k", 2, "user"); }, "value k", "k=2"},
                 {[&] { p->unset("k", "user"); }, "value k", "k=-"},
                 {[&] { makeGroup("g")->setParent(p); }, "add g to p", "g() k=-"},
                 {[&] { p->removeNode("g"); }, "remove g from p", "k=-"},
                 {[&] { p->mergeDescendants(src, "user"); },
                  "add a to p; value a; add b to p; value b", "a=1 b=1 k=-"},
                 {[&] {
                      p->setMultiple(std::map<std::string, any>{{"a", 2}, {"b", 2}}, "user");
                  },
                  "value a", "a=2 b=1 k=-"},
             }) {
            std::string const first = told.substr(told.find(' ') + 1, 1);
            expectThrow<std::runtime_error>(change, [&](auto const& error) {
                EXPECT_EQ(error.what(), bySave ? "the disk is full" : first);
            });
            EXPECT_EQ(heard.take(), told);
            EXPECT_EQ(contents(p), left);
            EXPECT_EQ(userFiles(), files);
        }
    }
}

TEST_F(Events, WhatAListenerThrowsComesAfterTheSave) {
    userFile("p", intKey("k", "1"));
    auto const angry = root()->addListener<SettingsEvent>(
        [](SettingsEvent const&) { throw std::runtime_error("angry"); });
    auto const saved = [this] {
        auto const path = qf::i18n::to_ustring(userFilePath("p").string());
        return contents(Settings::importAsStandaloneObject(path), "user");
    };
    NodePtr const p = at("p");
    EXPECT_THROW(p->setAny("k", 2, "user"), std::runtime_error);
    EXPECT_EQ(saved(), "k=2");
    EXPECT_THROW(makeGroup("g")->setParent(p), std::runtime_error);
    EXPECT_EQ(saved(), "g() k=2");
    EXPECT_THROW(p->removeNode("g"), std::runtime_error);
    EXPECT_THROW(p->unset("k", "user"), std::runtime_error);
    EXPECT_EQ(saved(), "k=-");
}

// --- Roots that were let go -------------------------------------------------------------------

TEST_F(Events, ARootThatWasLetGoDropsItsEventsAndDies) {
    turnOffSettingsSaving();
    using End = std::pair<ZcrID, std::function<void()>>;
    for (auto const& [id, end] : std::vector<End>{
             {BlessedZcrID, [] { ZSettings::reset(BlessedZcrID); }},
             {3, [] { qbhost::endInstance(3); }},
             {3, [] { SettingsImpl::reset(); }},
         }) {
        resetInstances();
        if (BlessedZcrID < id) qbhost::startInstance(id);
        ZSettings::createEmptySettingsFor(id);
        auto tree = SettingsImpl::getSettingsImplRoot(id);
        tree->enableEventQueue(true);
        NodePtr const made = makeGroup("made");
        made->setParent(tree);  // Its event holds the root.
        boost::weak_ptr<SettingsImplRoot> const watched = tree;
        end();
        makeGroup("late")->setParent(tree);
        makeGroup("child")->setParent(made);
        // One that was on its way when the instance ended.
        tree->enqueue(
            boost::make_shared<SettingsAddNodeEvent const>(tree, made, std::vector<ustring>(), id));
        Queue queue;
        tree->getEventQueue(queue);
        EXPECT_TRUE(queue.empty());
        tree.reset();
        EXPECT_TRUE(watched.expired());
        if (BlessedZcrID < id) qbhost::endInstance(id);
    }
}

TEST_F(Events, ATreeDiesThoughEventsWereOnTheirWayWhenItsInstanceEnded) {
    turnOffSettingsSaving();
    for (int round = 0; round < 30; ++round) {
        resetInstances();
        auto tree = implRoot();
        tree->enableEventQueue(true);
        boost::weak_ptr<SettingsImplRoot> const watched = tree;
        concurrently(2, [&](int thread) {
            for (int i = 0; thread == 0 && i < 20; ++i)
                makeGroup("n" + std::to_string(i))->setParent(tree);
            if (thread == 0) return;
            std::this_thread::sleep_for(std::chrono::microseconds(20 * round));
            ZSettings::reset(BlessedZcrID);
        });
        tree.reset();
        EXPECT_TRUE(watched.expired());
    }
}

}  // namespace
