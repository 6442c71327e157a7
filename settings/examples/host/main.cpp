// A host in small: two instances, their events, and functions in C, Lua and Java that guard and
// compute settings. "qbsamplehost DIR" follows in its loop what other processes change of the
// user's settings in that folder, until its station closes. Ends with status 1 if anything is not
// as it should be.
#include <poll.h>

#include <cstdlib>
#include <filesystem>
#include <future>
#include <iostream>
#include <queue>

#include <qbhost/QbHost.hpp>
#include <settingscore/errors/FunctionExceptions.hpp>
#include <settingscore/errors/ValueExceptions.hpp>
#include <settingscore/persistence/SharedSaving.hpp>
#include <settingscore/roots/SettingsFileWatch.hpp>
#include <settingscore/tree/SettingsEvent.hpp>
#include <settingscore/tree/ZSettings.hpp>
#include <settingscore/value/Get.hpp>
#include <settingscore/value/MakeAny.hpp>
#include "Bridges.hpp"

using namespace settings::core;
using settingscore::boostany::makeAny;
using Texts = std::vector<std::string>;

static void expect(bool isTrue, std::string const& what) {
    if (!isTrue) throw std::runtime_error("not as expected: " + what);
}

static std::string read(Settings const& group, std::string const& key) {
    boost::any const value = group.getAny(key, "");
    std::string text;
    for (ustring const& element : settingscore::boostany::get<std::vector<ustring>>(value, true))
        text += (text.empty() ? "" : ", ") + qf::i18n::to_string(element);
    return text;
}

static void showRefused(Settings& group, std::string const& key, boost::any const& value) try {
    group.setAny(key, value, "user");
    expect(false, "the " + key + " is refused");
} catch (exception::ExceptionFromValidationFunction const& error) {
    std::cout << "  refused: " << qf::i18n::to_string(error.getErrorMsg()) << '\n';
}

// A listener may read; it runs inside the change, and must change nothing.
static std::string describe(SettingsEvent const& event) {
    std::string const name = event.getObj()->getName();
    if (auto const* added = dynamic_cast<SettingsAddNodeEvent const*>(&event))
        return added->getParentObj()->getFullName() + " got " + name;
    if (auto const* removed = dynamic_cast<SettingsRemoveNodeEvent const*>(&event))
        return removed->getParentObj()->getFullName() + " lost " + name;
    return event.getObj()->getFullName() + " changed";
}

// One instance of the host: a tree of its own, with a user directory of its own.
struct Instance {
    Instance(ZcrID number, std::filesystem::path const& userDir) : id(number) {
        expect(qbhost::startInstance(id), "the instance starts");
        ZSettings::setSettingsFileLocation(id, qf::i18n::to_ustring(EXAMPLES_DIR "/radio/toolbox"),
                                           boost::none, userDir.u16string());
        auto const root = ZSettings::getZSettingsRoot(id);
        station = boost::dynamic_pointer_cast<ZSettings>(root->getChild("station"));
        // Events go to listeners at once, and into the queue for a host that collects them at its
        // own pace. The base class of the events hears all kinds, the root hears all nodes.
        root->enableEventQueue(true);
        connection = root->addListener<SettingsEvent>([this](SettingsEvent const& event) {
            heard.push_back(describe(event));
            std::cout << "  instance " << id.value() << " heard: " << heard.back() << '\n';
        });
    }
    void showQueue() const {
        Texts queued;
        std::queue<boost::shared_ptr<SettingsEvent const>> queue;
        for (ZSettings::eventQueue(queue, id); !queue.empty(); queue.pop()) {
            queued.push_back(describe(*queue.front()));
            std::cout << "  instance " << id.value() << " queued: " << queued.back() << '\n';
        }
        expect(queued == heard, "the queue holds what the listener heard");
    }
    ZcrID id;
    boost::shared_ptr<ZSettings> station;
    Texts heard;
    std::unique_ptr<corebus::msg_svc::eventmgr::Connection> connection;
};

static void showAll(std::filesystem::path const& folder) {
    // At the start: where the host is installed, which thread runs its engine, its languages.
    qbhost::setInstallPath(qf::i18n::to_ustring(EXAMPLES_DIR));
    qbhost::setSignalThreadToThisThread();
    installLua(EXAMPLES_DIR "/radio/functions");
    Instance one(1, folder / "1"), two(2, folder / "2");
    ZSettings& station = *one.station;

    std::cout << "Events of a set, an add and a remove, and of a set in another instance:\n";
    station.setAny("server", makeAny("radio.example.net"), "user");
    auto const guests = ZSettings::createSettingsNode("guests", false, true, Validator(), false);
    boost::dynamic_pointer_cast<ZSettings>(guests)->setParent(one.station);
    station.removeNode("guests");
    two.station->setAny("server", makeAny("night.example.net"), "user");
    one.showQueue();
    two.showQueue();
    expect(one.heard.size() == 3 && two.heard.size() == 1, "each instance has its own events");
    expect(read(station, "server") == "radio.example.net", "each instance has its own values");

    std::cout << "Functions in C:\n";
    showRefused(station, "server", makeAny("no host name"));
    expect(std::stoi(read(station, "encoders")) >= 1, "the encoders are computed");

    std::cout << "Functions in Lua, on the signal thread alone:\n  computed: "
              << read(station, "playlist") << '\n';
    expect(read(station, "playlist") == "Opening, News, Close", "Lua computes the playlist");
    showRefused(station, "playlist", makeAny(Texts{"Jazz", ""}));
    try {
        std::async(std::launch::async, [&] { read(station, "playlist"); }).get();
        expect(false, "no other thread reaches Lua");
    } catch (exception::RunTimeFuncInvokingError const& error) {
        std::cout << "  elsewhere: " << qf::i18n::to_string(error.getErrorMsg()) << '\n';
    }

#ifdef SAMPLE_JAVA_CLASSES
    std::cout << "Functions in Java, on any thread:\n";
    installJava(SAMPLE_JAVA_CLASSES);
    std::cout << "  computed: " << read(station, "callSign") << '\n';
    expect(read(station, "callSign") == "WQBX", "the call sign comes from Java");
    std::async(std::launch::async, showRefused, std::ref(station), "callSign", makeAny("Q1")).get();
#else
    std::cout << "Functions in Java are left out: no Java development kit was found at build.\n";
#endif
    expect(qbhost::endInstance(one.id) && qbhost::endInstance(two.id), "the instances end");
    expect(!Settings::getSettingsRoot(one.id), "an instance that has ended has no tree");
}

// The loop of a host that has nothing else to do: it sleeps until somebody changes a file, or a
// second at most, for a folder that other machines write to as well.
static void follow(std::filesystem::path const& userDir) {
    qbhost::setInstallPath(qf::i18n::to_ustring(EXAMPLES_DIR));
    qbhost::setSignalThreadToThisThread();
    turnOnSharedSaving();
    Instance one(1, userDir);
    SettingsFileWatch watch(one.id);
    std::string server =
        read(*one.station, "server");  // Loads the product, so that it is followed.
    std::cout << "following " << server << std::endl;
    while (server != "closed.example.net") {
        pollfd changes = {watch.descriptor(), POLLIN, 0};
        poll(&changes, 1, 1000);
        SettingsFileWatch::Refreshed const refreshed = watch.refresh();
        std::cout << qf::i18n::to_string(refreshed.report);
        if (refreshed.changedNodes == 0) continue;
        server = read(*one.station, "server");
        std::cout << "now it is " << server << std::endl;
    }
}

int main(int argc, char** argv) try {
    if (argc > 1) {
        follow(std::filesystem::absolute(argv[1]));
        return 0;
    }
    std::string pattern = (std::filesystem::temp_directory_path() / "samplehost-XXXXXX").string();
    expect(::mkdtemp(pattern.data()) != nullptr, "a temporary folder");
    boost::shared_ptr<void> const remover(
        nullptr, [&pattern](void*) { std::filesystem::remove_all(pattern); });
    showAll(pattern);
    return 0;
} catch (std::exception const& error) {
    std::cerr << "qbsamplehost: " << error.what() << '\n';
    return 1;
}
