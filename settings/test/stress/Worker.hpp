#pragma once

#include <deque>
#include <optional>
#include <queue>
#include <random>

#include "World.hpp"

namespace qbstress {

/// One thread's work: operations chosen at random, repeatable by the seed as far as threads are.
class Worker {
public:
    Worker(World& world, int number, std::uint64_t seed)
        : world_(world), number_(std::to_string(number)), random_(seed) {}

    void step() {
        static constexpr void (Worker::*operations[])() = {
            &Worker::read,       &Worker::readGroup,       &Worker::set,
            &Worker::setRefused, &Worker::unset,           &Worker::addAndRemove,
            &Worker::merge,      &Worker::exportAndImport, &Worker::batch,
            &Worker::subscribe,  &Worker::unsubscribe,     &Worker::collectQueue,
            &Worker::loadFresh,  &Worker::liveInstance,    &Worker::follow,
            &Worker::readLive};
        // Reads are the most frequent.
        auto const pick = static_cast<std::size_t>(below(28));
        (this->*operations[pick < std::size(operations) ? pick : 0])();
    }

private:
    int below(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }
    char const* anyLevel() { return below(2) == 0 ? "session" : "user"; }
    Node node(std::string const& path) { return world_.root()->getSettingsByFullName(path); }
    Node anyGroup() { return node("busy.g" + std::to_string(below(World::groups))); }
    static boost::shared_ptr<ZSettings> asZ(Node const& node) {
        return boost::dynamic_pointer_cast<ZSettings>(node);
    }
    static Node make(std::string const& name, bool isLeaf = false) {
        return ZSettings::createSettingsNode(name, isLeaf, true, Validator(), false);
    }
    /// A standalone group of this thread's own, with a few keys that hold values.
    Node makeBranch() {
        auto group = make("t" + number_ + "_" + std::to_string(names_++ % 8));
        for (int key = 0; key < 2; ++key) {
            asZ(make(World::keyName(key), true))->setParent(group);
            group->setAny(World::keyName(key), World::value(key, random_()), "user");
        }
        return group;
    }

    void read() {
        static char const* const levels[] = {"", "session", "user", "factory"};
        int const key = below(World::keys);
        world_.checkValue(anyGroup()->getAny(World::keyName(key), levels[below(4)]), key);
    }
    void readGroup() {
        auto const group = anyGroup();
        boost::shared_lock<boost::shared_mutex> const together(*Settings::getTheRootMutex());
        for (int key = 0; key < World::keys; ++key)
            world_.checkValue(group->getAny(World::keyName(key), ""), key);
    }
    void set() {
        int const key = below(World::keys);
        anyGroup()->setAny(World::keyName(key), World::value(key, random_()), anyLevel());
    }
    void setRefused() {
        try {
            anyGroup()->setAny(World::keyName(below(World::keys)), 0.5, "user");
            world_.fail("a value of the wrong type was stored");
        } catch (qf::except::IMsgIDException const&) {
        }
    }
    void unset() {
        try {
            anyGroup()->unset(World::keyName(below(World::keys)), anyLevel());
        } catch (exception::ValueNotDefinedForGivenLevel const&) {
        }
    }
    void addAndRemove() {
        auto const dynamic = node("busy.dynamic");
        auto const branch = makeBranch();
        try {
            asZ(branch)->setParent(dynamic);
        } catch (exception::ErrorAddingChildNodeOrKey const&) {
        }
        try {
            asZ(dynamic)->removeNode(branch->getName());
        } catch (exception::NoSuchNode const&) {
        }
    }
    void merge() {
        auto const source = make("source");
        asZ(makeBranch())->setParent(source);
        node("busy.dynamic")->mergeDescendants(source, "user");
    }
    void exportAndImport() {
        qf::ustring const path =
            qbtest::toUString(world_.folder() / ("export" + number_ + ".settings"));
        Settings::exportSettings({anyGroup()}, path, "user");
        auto const read = Settings::importAsStandaloneObject(path);
        for (auto const& group : read->getChildren()) {
            for (int key = 0; key < World::keys; ++key)
                world_.checkValue(group->getAny(World::keyName(key), "user"), key);
        }
    }
    void batch() {
        std::map<std::string, boost::any> values;
        for (int i = 0; i < 4; ++i) {
            int const key = below(World::keys);
            values[World::keyName(key)] = World::value(key, random_());
        }
        if (!anyGroup()->setMultiple(values, anyLevel()).empty())
            world_.fail("a batch was refused");
    }
    void subscribe() {
        auto connection =
            anyGroup()->addListener<SettingsEvent>([&world = world_](SettingsEvent const& event) {
                world.checkTags(event);
                // A listener may read: the node that the event is about, and others.
                auto const parent = event.getObj()->getParent();
                if (event.getObj()->isLeafNode() && parent)
                    parent->getAny(event.getObj()->getName(), "");
            });
        if (connections_.size() < 8) connections_.push_back(std::move(connection));
    }
    void unsubscribe() {
        if (!connections_.empty()) connections_.erase(connections_.begin());
    }
    void collectQueue() {
        std::queue<boost::shared_ptr<SettingsEvent const>> events;
        ZSettings::eventQueue(events, BlessedZcrID);
        for (; !events.empty(); events.pop())
            world_.checkTags(*events.front());
    }
    void loadFresh() {
        auto const product = node(World::productName(below(World::freshProducts)));
        world_.checkValue(product->getAny("k0", ""), 0);
    }
    /// A second instance brings fresh products of its own; it ends while it may be in use.
    void liveInstance() {
        ZcrID const id(1 + below(3));
        if (below(4) == 0) {
            qbhost::endInstance(id);
            return;
        }
        qbhost::startInstance(id);
        auto const root = Settings::getSettingsRoot(id);
        if (!root) return;
        auto const product = root->getChild(World::productName(below(World::freshProducts)));
        if (!product) return;
        try {
            if (!product->getChild("k1")) return;
            followed_.emplace_back(0, typed::Key<Number>(product->getName() + ".k0", id));
            world_.checkValue(product->getAny("k0", ""), 0);
            product->setAny("k1", World::value(1, random_()), "session");
        } catch (typed::MissingKey const&) {
        } catch (exception::ErrorReadingSettingsData const&) {
            // The instance ended before the product was loaded: its root has no files any more.
        }
    }

    /// One more value that is followed, and one less if there are enough, also of an instance that
    /// has ended.
    void follow() {
        int const key = below(World::keys);
        followed_.emplace_back(
            key, typed::Key<Number>("busy.g" + std::to_string(below(World::groups)) + "." +
                                    World::keyName(key)));
        if (followed_.size() > 6) followed_.pop_front();
    }
    void readLive() {
        for (Followed const& one : followed_) {
            try {
                if (auto const now = *one.value.get()) world_.checkValue(*now, one.key);
            } catch (typed::MissingKey const&) {
                if (one.value.status() != typed::LiveStatus::removed)
                    world_.fail("a key that went came back");
            }
        }
        int const key = below(World::keys) / 2 * 2;
        world_.checkValue(world_.live(below(World::groups), key).get(), key);
    }

    using Number = std::optional<int>;
    struct Followed {
        Followed(int number, typed::Key<Number> const& name) : key(number), value(name) {}
        int key;
        typed::Live<Number> value;
    };

    World& world_;
    std::string const number_;
    std::mt19937_64 random_;
    unsigned names_ = 0;
    std::deque<Followed> followed_;
    std::vector<std::unique_ptr<corebus::msg_svc::eventmgr::Connection>> connections_;
};

}  // namespace qbstress
