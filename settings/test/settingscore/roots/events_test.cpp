#include <atomic>
#include <map>
#include <queue>

#include <settingscore/roots/SettingsContext.hpp>
#include <settingscore/tree/ProductWorld.hpp>

using namespace settings::core;
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

    /// Notes what a listener at the path hears, under the path.
    template <class T>
    void listenAt(std::string const& path) {
        auto const node = path.empty() ? root() : root()->getSettingsByFullName(path);
        connections_.push_back(node->addListener<T>(boost::function<void(T const&)>(
            [this, path](T const& event) { heard_[path].push_back(event.getObj()->getName()); })));
    }
    std::map<std::string, Texts> heard_;
    std::vector<Connection> connections_;
};

TEST_F(Events, AChangedValueIsHeardFromTheKeyUpwardsAlone) {
    for (std::string const path : {"", "plot.axes.ticks", "plot.axes.ticks.count", "plot.width"}) {
        listenAt<SettingsValueChangeEvent>(path);
    }
    listenAt<SettingsAddNodeEvent>("plot.axes");
    Texts untyped;
    Connection const connection = product()->addListener(
        Listener([&](SettingsEvent const& e) { untyped.push_back(e.getObj()->getName()); }));
    makeGroup("added")->setParent(product());
    nodeAt("plot.axes.ticks")->setAny("count", 6, "session");
    Texts const told{"count"};
    EXPECT_EQ(heard_, (std::map<std::string, Texts>{
                          {"", told}, {"plot.axes.ticks", told}, {"plot.axes.ticks.count", told}}));
    EXPECT_EQ(untyped, told);
}

TEST_F(Events, NodesThatComeAndGoAreHeardFromTheirParentUpwardsAndQueued) {
    auto const axes = nodeAt("plot.axes");
    auto const tree = implRoot();
    for (std::string const path : {"", "plot.axes", "plot.axes.ticks"}) {
        listenAt<SettingsEvent>(path);
    }
    listenAt<SettingsRemoveNodeEvent>("plot");
    product()->setAny("width", 6, "session");
    productImpl()->enableEventQueue(true);  // No root: no effect.
    product()->setAny("width", 7, "session");
    EXPECT_EQ(drained(), Texts{});

    tree->enableEventQueue(true);
    heard_.clear();
    NodePtr const added = makeGroup("added");
    makeKey("k", 1, makeGroup("inner", added));
    added->setParent(axes);
    makeKey("key", 1, {})->setParent(axes);
    Connection const own =
        added->addListener<SettingsEvent>(Listener([](SettingsEvent const&) { ADD_FAILURE(); }));
    axes->removeKey("key");
    axes->removeNode("added");
    Texts const all{"added", "key", "key", "added"};
    EXPECT_EQ(heard_, (std::map<std::string, Texts>{
                          {"", all}, {"plot", {all[2], all[3]}}, {"plot.axes", all}}));

    // Collecting swaps the queues, and events keep what they are about.
    Queue queue;
    queue.push(boost::make_shared<SettingsValueChangeEvent const>(axes, std::vector<ustring>(),
                                                                  BlessedZcrID));
    ZSettings::eventQueue(queue, BlessedZcrID);
    EXPECT_EQ(drained(), Texts{"axes"});
    ASSERT_EQ(queue.size(), 4u);
    // Tags lead from the first that hears it to the root.
    std::vector<ustring> tags;
    for (NodePtr const& node : {axes, productImpl(), NodePtr(tree)}) {
        tags.push_back(SettingsAddNodeEvent::typeTag() +
                       qf::i18n::to_ustring(node->getImplNodeEventId().toString()));
    }
    EXPECT_EQ(queue.front()->typeInformation().userTags(), tags);
    auto const& last = dynamic_cast<SettingsRemoveNodeEvent const&>(*queue.back());
    std::unique_ptr<SettingsRemoveNodeEvent> const copy(last.clone());
    EXPECT_EQ(copy->getObj(), added);
    EXPECT_EQ(copy->getParentObj(), axes);
    EXPECT_EQ(copy->getZcrId(), BlessedZcrID);
    EXPECT_EQ(valueOf<int>(added->getChild("inner"), "k"), 1);
    SettingsContext::getEventQueue(queue, ZcrID(77));  // No root: left alone.
    EXPECT_EQ(queue.size(), 4u);
    tree->enableEventQueue(false);
    product()->setAny("width", 8, "session");
    EXPECT_EQ(drained(), Texts{});
}

TEST_F(Events, AListenerBelongsToTheNodeWhereverItGoes) {
    NodePtr const group = makeGroup("group");
    EXPECT_FALSE(group->addListener(Listener([](SettingsEvent const&) {})));
    EXPECT_THROW(group->addListener(Listener()), std::invalid_argument);
    makeKey("k", 1, group);
    auto const axes = nodeAt("plot.axes");
    group->setParent(axes);
    Heard heard(group);
    axes->removeNode("group");
    group->setAny("k", 2, "user");
    group->clone()->setParent(axes);
    axes->getChild("group")->setAny("k", 4, "user");
    EXPECT_EQ(heard.take(), Texts());
    group->setParent(product());
    group->setAny("k", 3, "user");
    EXPECT_EQ(heard.take().back(), "value k");
}

TEST_F(Events, EachClassNamesItsBases) {
    SettingsRemoveNodeEvent const event(product(), product(), {}, BlessedZcrID);
    auto const& type = event.typeInformation();
    ASSERT_EQ(type.hierarchySize(), 3u);
    EXPECT_EQ(type.getBaseTag(0), u"settings::core::SettingsRemoveNodeEvent");
    EXPECT_EQ(type.getBaseTag(1), u"settings::core::SettingsEvent");
    EXPECT_EQ(type.getBaseTag(2), u"corebus::msg_svc::eventmgr::BaseEvent");
    EXPECT_THROW(type.getBaseTag(3), std::out_of_range);
    EXPECT_EQ(SettingsAddNodeEvent::typeTag(), u"settings::core::SettingsAddNodeEvent");
    EXPECT_EQ(SettingsValueChangeEvent::typeTag(), u"settings::core::SettingsValueChangeEvent");
}

// --- Listeners that misbehave -----------------------------------------------------------------

TEST_F(Events, AListenerThatThrowsReachesTheCallerAndTheChangeStays) {
    auto const plot = productImpl();
    Connection const angry = plot->addListener<SettingsEvent>(
        Listener([](SettingsEvent const&) { throw std::runtime_error("angry"); }));
    listenAt<SettingsEvent>("plot");
    EXPECT_THROW(plot->setAny("width", 6, "user"), std::runtime_error);
    EXPECT_EQ(valueOf<int>(plot, "width"), 6);
    EXPECT_THROW(plot->unset("width", "user"), std::runtime_error);
    EXPECT_EQ(valueOf<int>(plot, "width"), 5);
    EXPECT_THROW(makeGroup("added")->setParent(plot), std::runtime_error);
    EXPECT_TRUE(plot->getChild("added"));
    EXPECT_THROW(plot->removeNode("added"), std::runtime_error);
    EXPECT_FALSE(plot->getChild("added"));
    EXPECT_EQ(heard_["plot"], (Texts{"width", "width", "added", "added"}));
}

TEST_F(Events, ListenersComeAndGoWhileOthersChangeValues) {
    auto const plot = product();
    std::atomic<bool> stop{false};
    std::atomic<int> heard{0};
    Listener const listener([&](SettingsEvent const&) { heard = valueOf<int>(plot, "width"); });
    concurrently(4, [&](int thread) {
        for (int i = 0; thread == 0 && i < 400; ++i)
            plot->setAny("width", 1 + i % 9, "session");
        if (thread == 0) stop = true;
        while (!stop) {
            Connection const connection = plot->addListener(listener);
            drained();
            std::this_thread::yield();
        }
    });
    Connection const last = plot->addListener(listener);
    plot->setAny("width", 10, "session");
    EXPECT_EQ(heard, 10);
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
        Connection const connection =
            tree->addListener<SettingsEvent>(Listener([](SettingsEvent const&) { ADD_FAILURE(); }));
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
