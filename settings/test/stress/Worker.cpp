#include <iterator>
#include <map>
#include <queue>

#include <qbhost/QbHost.hpp>
#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/tree/ZSettings.hpp>

#include "World.hpp"

namespace qbstress {

using namespace settings::core;  // NOLINT(google-build-using-namespace)

namespace {

char const* const levels[] = {"session", "user"};
char const* const readLevels[] = {"", "session", "user", "factory"};

boost::shared_ptr<ZSettings> asZ(boost::shared_ptr<Settings> const& node) {
    return boost::dynamic_pointer_cast<ZSettings>(node);
}

}  // namespace

boost::shared_ptr<Settings> Worker::anyGroup() {
    return world_.root()->getSettingsByFullName(World::groupName(below(World::groups)));
}

void Worker::read() {
    int const key = below(World::keys);
    world_.checkValue(anyGroup()->getAny(World::keyName(key), readLevels[below(4)]), key);
}

void Worker::readGroup() {
    auto const group = anyGroup();
    boost::shared_lock<boost::shared_mutex> const together(*Settings::getTheRootMutex());
    for (int key = 0; key < World::keys; ++key) {
        world_.checkValue(group->getAny(World::keyName(key), ""), key);
    }
}

void Worker::set() {
    int const key = below(World::keys);
    anyGroup()->setAny(World::keyName(key), World::value(key, random_()), levels[below(2)]);
}

void Worker::setRefused() {
    int const key = below(World::keys);
    try {
        anyGroup()->setAny(World::keyName(key), 0.5, "user");
        world_.fail("a value of the wrong type was stored");
    } catch (qf::except::IMsgIDException const&) {
    }
}

void Worker::unset() {
    try {
        anyGroup()->unset(World::keyName(below(World::keys)), levels[below(2)]);
    } catch (exception::ValueNotDefinedForGivenLevel const&) {
    }
}

boost::shared_ptr<Settings> Worker::makeBranch() {
    std::string const name = "t" + std::to_string(number_) + "_" + std::to_string(names_++ % 8);
    auto group = ZSettings::createSettingsNode(name, false, true, Validator(), false);
    for (int key = 0; key < 2; ++key) {
        auto const leaf =
            ZSettings::createSettingsNode(World::keyName(key), true, true, Validator(), false);
        asZ(leaf)->setParent(group);
        group->setAny(World::keyName(key), World::value(key, random_()), "user");
    }
    return group;
}

void Worker::addAndRemove() {
    auto const dynamic = world_.root()->getSettingsByFullName("busy.dynamic");
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

void Worker::merge() {
    auto const source = ZSettings::createSettingsNode("source", false, true, Validator(), false);
    asZ(makeBranch())->setParent(source);
    world_.root()->getSettingsByFullName("busy.dynamic")->mergeDescendants(source, "user");
}

void Worker::exportAndImport() {
    qf::ustring const path = qf::i18n::to_ustring(
        (world_.folder() / ("export" + std::to_string(number_) + ".settings")).string());
    Settings::exportSettings({anyGroup()}, path, "user");
    auto const read = Settings::importAsStandaloneObject(path);
    for (auto const& group : read->getChildren()) {
        for (int key = 0; key < World::keys; ++key) {
            world_.checkValue(group->getAny(World::keyName(key), "user"), key);
        }
    }
}

void Worker::batch() {
    std::map<std::string, boost::any> values;
    for (int i = 0; i < 4; ++i) {
        int const key = below(World::keys);
        values[World::keyName(key)] = World::value(key, random_());
    }
    if (!anyGroup()->setMultiple(values, levels[below(2)]).empty()) {
        world_.fail("a batch was refused");
    }
}

void Worker::subscribe() {
    World& world = world_;
    auto connection = anyGroup()->addListener<SettingsEvent>([&world](SettingsEvent const& event) {
        world.checkTags(event);
        // A listener may read: the node that the event is about, and others.
        if (event.getObj()->isLeafNode() && event.getObj()->getParent()) {
            event.getObj()->getParent()->getAny(event.getObj()->getName(), "");
        }
    });
    if (connections_.size() < 8) connections_.push_back(std::move(connection));
}

void Worker::unsubscribe() {
    if (!connections_.empty()) connections_.erase(connections_.begin());
}

void Worker::collectQueue() {
    std::queue<boost::shared_ptr<SettingsEvent const>> events;
    ZSettings::eventQueue(events, BlessedZcrID);
    for (; !events.empty(); events.pop())
        world_.checkTags(*events.front());
}

void Worker::loadFresh() {
    auto const product = world_.root()->getChild(World::productName(below(World::freshProducts)));
    world_.checkValue(product->getAny("k0", ""), 0);
}

void Worker::liveInstance() {
    // A second instance brings fresh products of its own; it ends while it may be in use.
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
        world_.checkValue(product->getAny("k0", ""), 0);
        product->setAny("k1", World::value(1, random_()), "session");
    } catch (exception::ErrorReadingSettingsData const&) {
        // The instance ended before the product was loaded: its root has no files any more.
    }
}

void Worker::step() {
    struct Choice {
        int weight;
        Operation operation;
    };
    static constexpr Choice choices[] = {
        {30, &Worker::read},      {8, &Worker::readGroup},       {16, &Worker::set},
        {4, &Worker::setRefused}, {8, &Worker::unset},           {6, &Worker::addAndRemove},
        {4, &Worker::merge},      {2, &Worker::exportAndImport}, {6, &Worker::batch},
        {4, &Worker::subscribe},  {4, &Worker::unsubscribe},     {4, &Worker::collectQueue},
        {6, &Worker::loadFresh},  {6, &Worker::liveInstance}};
    int total = 0;
    for (Choice const& choice : choices)
        total += choice.weight;
    int pick = below(total);
    for (Choice const& choice : choices) {
        if ((pick -= choice.weight) < 0) return (this->*choice.operation)();
    }
}

}  // namespace qbstress
