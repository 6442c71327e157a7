#include <atomic>
#include <map>
#include <queue>
#include <typeindex>

#include <settingscore/roots/SettingsContext.hpp>
#include <settingscore/roots/SettingsEvent.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/roots/SettingsRootStateMgr.hpp>
#include <settingscore/tree/ProductWorld.hpp>

using namespace settings::core;
using namespace qbtest;

namespace {

using Connection = std::unique_ptr<corebus::msg_svc::eventmgr::Connection>;
using Listener = boost::function<void(SettingsEvent const&)>;
using Queue = std::queue<boost::shared_ptr<SettingsEvent const>>;

/// What an event tells, as "value NAME", "add PARENT/NAME" or "remove PARENT/NAME".
std::string textOf(SettingsEvent const& event) {
    std::string const name = event.getObj()->getName();
    if (auto const* add = dynamic_cast<SettingsAddNodeEvent const*>(&event)) {
        return "add " + add->getParentObj()->getName() + "/" + name;
    }
    if (auto const* removal = dynamic_cast<SettingsRemoveNodeEvent const*>(&event)) {
        return "remove " + removal->getParentObj()->getName() + "/" + name;
    }
    return "value " + name;
}

Texts drained(ZcrID const& id = BlessedZcrID) {
    Queue queue;
    ZSettings::eventQueue(queue, id);
    Texts texts;
    for (; !queue.empty(); queue.pop())
        texts.push_back(textOf(*queue.front()));
    return texts;
}

class Events : public ProductWorld {
protected:
    Events() { installPlot(); }

    /// Notes what a listener at the path hears, under the path.
    template <class T = SettingsValueChangeEvent>
    void listenAt(std::string const& path) {
        auto const node = path.empty() ? root() : root()->getSettingsByFullName(path);
        connections_.push_back(node->addListener<T>(boost::function<void(T const&)>(
            [this, path](T const& event) { heard_[path].push_back(textOf(event)); })));
        ASSERT_TRUE(connections_.back());
    }
    std::map<std::string, Texts> heard_;
    std::vector<Connection> connections_;
};

TEST_F(Events, AValueChangeIsHeardAtTheKeyAndAboveItAlone) {
    for (std::string const path : {"", "plot", "plot.axes", "plot.axes.ticks",
                                   "plot.axes.ticks.count", "plot.axes.grid", "plot.width"}) {
        listenAt(path);
    }
    listenAt<SettingsAddNodeEvent>("plot.axes");
    nodeAt("plot.axes.ticks")->setAny("count", 9, "user");
    Texts const once{"value count"};
    std::map<std::string, Texts> const expected{{"", once},
                                                {"plot", once},
                                                {"plot.axes", once},
                                                {"plot.axes.ticks", once},
                                                {"plot.axes.ticks.count", once}};
    EXPECT_EQ(heard_, expected);
}

TEST_F(Events, OnlyAChangeOfTheValueInForceIsTold) {
    auto const plot = product();
    listenAt("plot");
    struct Case {
        char const* what;
        std::function<void()> change;
        Texts heard;
    };
    Texts const told{"value width"};
    for (Case const& c : std::vector<Case>{
             {"set", [&] { plot->setAny("width", 6, "session"); }, told},
             {"same value", [&] { plot->setAny("width", 6, "session"); }, {}},
             {"hidden by the session", [&] { plot->setAny("width", 7, "user"); }, {}},
             {"unset shows another", [&] { plot->unset("width", "session"); }, told},
             {"set to the factory's", [&] { plot->setAny("width", 5, "user"); }, told},
             {"unset shows the same", [&] { plot->unset("width", "user"); }, {}},
             {"refused",
              [&] {
                  EXPECT_THROW(plot->setAny("width", 99, "user"), exception::ValidationException);
              },
              {}},
         }) {
        SCOPED_TRACE(c.what);
        heard_.clear();
        c.change();
        EXPECT_EQ(heard_["plot"], c.heard);
    }
}

TEST_F(Events, NodesThatComeAndGoAreToldFromTheirParentUpwards) {
    for (std::string const path : {"", "plot.axes", "plot.axes.ticks"}) {
        listenAt<SettingsEvent>(path);
    }
    listenAt<SettingsRemoveNodeEvent>("plot");
    auto const axes = nodeAt("plot.axes");
    NodePtr const added = makeGroup("added");
    makeKey("k", 1, makeGroup("inner", added));
    added->setParent(axes);
    Connection const own = added->addListener<SettingsEvent>(
        Listener([](SettingsEvent const& event) { ADD_FAILURE() << textOf(event); }));
    axes->removeNode("added");
    makeKey("key", 1, {})->setParent(axes);
    axes->removeKey("key");
    Texts const all{"add axes/added", "remove axes/added", "add axes/key", "remove axes/key"};
    EXPECT_EQ(heard_[""], all);
    EXPECT_EQ(heard_["plot.axes"], all);
    EXPECT_EQ(heard_["plot.axes.ticks"], Texts{});
    EXPECT_EQ(heard_["plot"], (Texts{"remove axes/added", "remove axes/key"}));
}

TEST_F(Events, AListenerWithoutATypeHearsValueChangesAlone) {
    Texts heard;
    Connection const connection = product()->addListener(
        Listener([&](SettingsEvent const& event) { heard.push_back(textOf(event)); }));
    makeGroup("added")->setParent(product());
    product()->setAny("width", 6, "session");
    EXPECT_EQ(heard, Texts{"value width"});
}

TEST_F(Events, NoListenerWhereNoEventCanCome) {
    NodePtr const alone = makeGroup("alone");
    EXPECT_FALSE(alone->addListener(Listener([](SettingsEvent const&) {})));
    EXPECT_THROW(alone->addListener(Listener()), std::invalid_argument);
    EXPECT_THROW(product()->addListener<SettingsAddNodeEvent>({}), std::invalid_argument);
}

TEST_F(Events, AListenerBelongsToTheNodeWhereverItGoes) {
    NodePtr const group = makeGroup("group");
    makeKey("k", 1, group);
    auto const axes = nodeAt("plot.axes");
    group->setParent(axes);
    Texts heard;
    Connection connection = group->addListener(
        Listener([&](SettingsEvent const& event) { heard.push_back(textOf(event)); }));
    axes->removeNode("group");
    group->setAny("k", 2, "user");
    EXPECT_EQ(heard, Texts{});
    group->setParent(product());
    group->setAny("k", 3, "user");
    EXPECT_EQ(heard, Texts{"value k"});
    NodePtr const copy = group->clone();
    product()->mergeDescendants(makeGroup("plot"), "session");
    copy->setParent(axes);
    copy->setAny("k", 4, "user");
    EXPECT_EQ(heard, Texts{"value k"});
    connection.reset();
    group->setAny("k", 5, "user");
    EXPECT_EQ(heard, Texts{"value k"});
}

TEST_F(Events, AnEventKeepsWhatItIsAboutAndWhereItHappened) {
    auto const axes = nodeAt("plot.axes");
    implRoot()->enableEventQueue(true);
    NodePtr const own = makeGroup("own");
    makeKey("k", 1, own);
    own->setParent(axes);
    axes->removeNode("own");
    Queue queue;
    ZSettings::eventQueue(queue, BlessedZcrID);
    ASSERT_EQ(queue.size(), 2u);
    queue.pop();
    auto const event = boost::dynamic_pointer_cast<SettingsRemoveNodeEvent const>(queue.front());
    ASSERT_TRUE(event);
    EXPECT_EQ(event->getObj(), own);
    EXPECT_EQ(event->getParentObj(), axes);
    EXPECT_EQ(event->getZcrId(), BlessedZcrID);
    EXPECT_EQ(valueOf<int>(event->getObj(), "k"), 1);
    EXPECT_FALSE(event->getObj()->getParent());
    std::unique_ptr<SettingsRemoveNodeEvent> const copy(event->clone());
    EXPECT_EQ(copy->getObj(), own);
    EXPECT_EQ(copy->getParentObj(), axes);
}

TEST_F(Events, EachClassNamesItsBases) {
    ustring const settingsEvent = u"settings::core::SettingsEvent";
    ustring const base = u"corebus::msg_svc::eventmgr::BaseEvent";
    NodePtr const node = makeGroup("n");
    std::vector<ustring> const tags{u"one", u"two"};
    struct Case {
        boost::shared_ptr<SettingsEvent> event;
        std::vector<ustring> hierarchy;
    };
    for (Case const& c : std::vector<Case>{
             {boost::make_shared<SettingsEvent>(node, tags, BlessedZcrID), {settingsEvent, base}},
             {boost::make_shared<SettingsValueChangeEvent>(node, tags, BlessedZcrID),
              {u"settings::core::SettingsValueChangeEvent", settingsEvent, base}},
             {boost::make_shared<SettingsAddNodeEvent>(node, node, tags, BlessedZcrID),
              {u"settings::core::SettingsAddNodeEvent", settingsEvent, base}},
             {boost::make_shared<SettingsRemoveNodeEvent>(node, node, tags, BlessedZcrID),
              {u"settings::core::SettingsRemoveNodeEvent", settingsEvent, base}},
         }) {
        auto const& type = c.event->typeInformation();
        ASSERT_EQ(type.hierarchySize(), c.hierarchy.size());
        for (std::size_t i = 0; i < c.hierarchy.size(); ++i) {
            EXPECT_EQ(type.getBaseTag(i), c.hierarchy[i]);
            EXPECT_TRUE(c.event->isKindOf(c.hierarchy[i]));
        }
        expectThrow<std::out_of_range>([&] { type.getBaseTag(c.hierarchy.size()); },
                                       [](auto const& e) {
                                           EXPECT_STREQ(e.what(),
                                                        "eventmgr::BaseEvent has no base types.");
                                       });
        EXPECT_EQ(type.userTags(), tags);
        std::unique_ptr<SettingsEvent> const copy(c.event->clone());
        EXPECT_TRUE(*copy == *c.event);
        auto const classOf = [](SettingsEvent const& event) {
            return std::type_index(typeid(event));
        };
        EXPECT_EQ(classOf(*copy), classOf(*c.event));
        using corebus::msg_svc::eventmgr::BaseEvent;
        bool const isAdd = c.hierarchy.front() == SettingsAddNodeEvent::typeTag();
        if (isAdd) {
            EXPECT_EQ(&BaseEvent::safeDownCast<SettingsAddNodeEvent>(*c.event), c.event.get());
        } else {
            EXPECT_THROW(BaseEvent::safeDownCast<SettingsAddNodeEvent>(*c.event), std::bad_cast);
        }
    }
}

TEST_F(Events, TheTagsLeadFromTheNodeToTheRoot) {
    implRoot()->enableEventQueue(true);
    auto const ticks = nodeAt("plot.axes.ticks");
    ticks->setAny("count", 9, "session");
    NodePtr const added = makeGroup("added");
    added->setParent(ticks);
    Queue queue;
    ZSettings::eventQueue(queue, BlessedZcrID);
    std::vector<NodePtr> chain{nodeAt("plot.axes.ticks.count"), ticks, nodeAt("plot.axes"),
                               productImpl(), implRoot()};
    for (ustring const& type :
         {SettingsValueChangeEvent::typeTag(), SettingsAddNodeEvent::typeTag()}) {
        ASSERT_FALSE(queue.empty());
        std::vector<ustring> expected;
        for (NodePtr const& node : chain) {
            expected.push_back(type + qf::i18n::to_ustring(node->getImplNodeEventId().toString()));
        }
        EXPECT_EQ(queue.front()->typeInformation().userTags(), expected);
        queue.pop();
        chain.erase(chain.begin());  // An added node's tags begin with its parent.
    }
}

// --- Listeners that misbehave -----------------------------------------------------------------

TEST_F(Events, AListenerThatThrowsReachesTheCallerAndTheChangeStays) {
    auto const plot = productImpl();
    Connection const angry = plot->addListener<SettingsEvent>(
        Listener([](SettingsEvent const& event) { throw std::runtime_error(textOf(event)); }));
    listenAt<SettingsEvent>("plot");
    struct Case {
        std::string told;
        std::function<void()> change;
    };
    NodePtr const added = makeGroup("added");
    for (Case const& c : std::vector<Case>{
             {"value width", [&] { plot->setAny("width", 6, "user"); }},
             {"value width", [&] { plot->unset("width", "user"); }},
             {"add plot/added", [&] { added->setParent(plot); }},
             {"remove plot/added", [&] { plot->removeNode("added"); }},
         }) {
        heard_.clear();
        expectThrow<std::runtime_error>(c.change,
                                        [&](auto const& e) { EXPECT_EQ(e.what(), c.told); });
        EXPECT_EQ(heard_["plot"], Texts{c.told});
    }
    EXPECT_EQ(valueOf<int>(plot, "width"), 5);
    EXPECT_FALSE(plot->getChild("added"));
}

TEST_F(Events, AListenerMayEndAndBeginSubscriptionsAndRead) {
    auto const plot = product();
    Texts heard;
    Connection own;
    Connection other;
    std::vector<Connection> added;
    own = plot->addListener(Listener([&](SettingsEvent const& event) {
        heard.push_back("first " + std::to_string(valueOf<int>(plot, "width")) + " " +
                        event.getObj()->getFullName());
        own.reset();
        other.reset();
        added.push_back(
            plot->addListener(Listener([&](SettingsEvent const&) { heard.push_back("added"); })));
    }));
    other = plot->addListener(Listener([&](SettingsEvent const&) { heard.push_back("other"); }));
    plot->setAny("width", 6, "session");
    EXPECT_EQ(heard, Texts{"first 6 plot.width"});
    plot->setAny("width", 7, "session");
    EXPECT_EQ(heard, (Texts{"first 6 plot.width", "added"}));
}

TEST_F(Events, ListenersComeAndGoWhileOthersChangeValues) {
    auto const plot = product();
    turnOffSettingsSaving();
    std::atomic<bool> stop{false};
    std::atomic<int> heard{0};
    concurrently(4, [&](int thread) {
        if (thread == 0) {
            for (int i = 0; i < 400; ++i)
                plot->setAny("width", 1 + i % 10, "session");
            stop = true;
        }
        while (!stop) {
            Connection const connection =
                plot->addListener(Listener([&](SettingsEvent const& event) {
                    valueOf<int>(event.getObj()->getParent(), "width");
                    ++heard;
                }));
            Queue queue;
            ZSettings::eventQueue(queue, BlessedZcrID);
            std::this_thread::yield();
        }
    });
    Connection const last = plot->addListener(Listener([&](SettingsEvent const&) { heard = -1; }));
    plot->setAny("width", 1, "user");
    EXPECT_NE(heard, -1);  // Hidden by the session's value.
    plot->setAny("width", 4, "session");
    EXPECT_EQ(heard, -1);
}

// --- The queue --------------------------------------------------------------------------------

TEST_F(Events, TheQueueHoldsWhatListenersHear) {
    auto const plot = product();
    listenAt<SettingsEvent>("");
    plot->setAny("width", 6, "session");
    EXPECT_EQ(drained(), Texts{});
    boost::dynamic_pointer_cast<ZSettings>(plot)->enableEventQueue(true);  // No root: no effect.
    plot->setAny("width", 7, "session");
    EXPECT_EQ(drained(), Texts{});

    implRoot()->enableEventQueue(true);
    EXPECT_TRUE(implRoot()->queueEnabled());
    heard_.clear();
    plot->setAny("width", 8, "session");
    makeGroup("added")->setParent(plot);
    boost::dynamic_pointer_cast<ZSettings>(plot)->removeNode("added");
    Texts const all{"value width", "add plot/added", "remove plot/added"};
    EXPECT_EQ(heard_[""], all);
    EXPECT_EQ(drained(), all);
    EXPECT_EQ(drained(), Texts{});

    implRoot()->enableEventQueue(false);
    plot->setAny("width", 9, "session");
    EXPECT_EQ(drained(), Texts{});
}

TEST_F(Events, CollectingSwapsTheQueues) {
    auto const tree = implRoot();
    tree->enableEventQueue(true);
    product()->setAny("width", 6, "session");
    Queue queue;
    queue.push(boost::make_shared<SettingsValueChangeEvent const>(
        product("plot"), std::vector<ustring>(), BlessedZcrID));
    SettingsContext::getEventQueue(queue, BlessedZcrID);
    ASSERT_EQ(queue.size(), 1u);
    EXPECT_EQ(textOf(*queue.front()), "value width");
    EXPECT_EQ(drained(), Texts{"value plot"});
    // Without a root the argument is left alone.
    SettingsContext::getEventQueue(queue, ZcrID(77));
    EXPECT_EQ(queue.size(), 1u);
}

TEST_F(Events, ARootThatWasLetGoDropsItsEventsAndDies) {
    turnOffSettingsSaving();
    struct Case {
        char const* what;
        ZcrID id;
        std::function<void(ZcrID)> end;
    };
    for (Case const& c : std::vector<Case>{
             {"reset of the blessed", BlessedZcrID, [](ZcrID id) { ZSettings::reset(id); }},
             {"release", ZcrID(3), [](ZcrID id) { qbhost::endInstance(id); }},
             {"end of all", ZcrID(3), [](ZcrID) { SettingsImpl::reset(); }},
         }) {
        SCOPED_TRACE(c.what);
        resetInstances();
        if (BlessedZcrID < c.id) qbhost::startInstance(c.id);
        ZSettings::createEmptySettingsFor(c.id);
        auto tree = SettingsImpl::getSettingsImplRoot(c.id);
        ASSERT_TRUE(tree);
        tree->enableEventQueue(true);
        NodePtr made = makeGroup("made");
        made->setParent(tree);  // Its event holds the root.
        boost::weak_ptr<SettingsImplRoot> const watched = tree;
        c.end(c.id);
        int heard = 0;
        Connection const connection =
            tree->addListener<SettingsEvent>(Listener([&](SettingsEvent const&) { ++heard; }));
        makeGroup("late")->setParent(tree);
        makeGroup("child")->setParent(made);
        // One that was on its way when the instance ended.
        tree->enqueue(boost::make_shared<SettingsAddNodeEvent const>(tree, made,
                                                                     std::vector<ustring>(), c.id));
        Queue queue;
        tree->getEventQueue(queue);
        EXPECT_TRUE(queue.empty());
        EXPECT_EQ(heard, 0);
        tree.reset();
        EXPECT_TRUE(watched.expired());
        if (BlessedZcrID < c.id) qbhost::endInstance(c.id);
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
            if (thread == 0) {
                for (int i = 0; i < 20; ++i) {
                    makeGroup("n" + std::to_string(i))->setParent(tree);
                }
            } else {
                std::this_thread::sleep_for(std::chrono::microseconds(20 * round));
                ZSettings::reset(BlessedZcrID);
            }
        });
        tree.reset();
        EXPECT_TRUE(watched.expired());
    }
}

}  // namespace
