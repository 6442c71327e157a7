#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <settingscore/roots/SettingsEvent.hpp>
#include <settingscore/tree/Settings.hpp>

#include "../support/TempFolder.hpp"

namespace qbstress {

/// What all threads work on: a factory with one busy product and many that are loaded on the way, a
/// user folder, and the root.
///
/// The key "kN" of a group only ever gets values that leave the remainder N when divided by 1000:
/// so every read can tell whether somebody set what it got.
class World {
public:
    static constexpr int groups = 4;
    static constexpr int keys = 8;
    static constexpr int freshProducts = 30;

    World();
    ~World();

    boost::shared_ptr<settings::core::Settings> const& root() const { return root_; }
    std::filesystem::path folder() const { return folder_.path(); }
    qbtest::ScopedEnvironment& environment() { return environment_; }

    static std::string groupName(int group) { return "busy.g" + std::to_string(group); }
    static std::string keyName(int key) { return "k" + std::to_string(key); }
    static std::string productName(int product) { return "fresh" + std::to_string(product); }
    static int value(int key, std::uint64_t random) {
        return static_cast<int>(random % 100000) * 1000 + key;
    }
    /// Fails unless `value`, if there is one, is one that somebody may have set on the key.
    void checkValue(boost::any const& value, int key);
    /// Fails unless the event's tags lead from its node to the root.
    void checkTags(settings::core::SettingsEvent const& event);
    /// Fails unless the file of the busy product, read back, says what memory says.
    void checkFile();

    void fail(std::string const& what);
    bool failed() const { return failed_; }

private:
    qbtest::TempFolder folder_;
    qbtest::ScopedEnvironment environment_;
    boost::shared_ptr<settings::core::Settings> root_;
    qf::ustring rootId_;
    std::atomic<bool> failed_{false};
};

/// One thread's work: operations chosen at random, repeatable by the seed as far as threads are.
class Worker {
public:
    Worker(World& world, int number, std::uint64_t seed)
        : world_(world), number_(number), random_(seed) {}
    void step();

private:
    using Operation = void (Worker::*)();

    int below(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }
    boost::shared_ptr<settings::core::Settings> anyGroup();
    /// A standalone group of this thread's own, with a few keys that hold values.
    boost::shared_ptr<settings::core::Settings> makeBranch();

    void read();
    void readGroup();
    void set();
    void setRefused();
    void unset();
    void addAndRemove();
    void merge();
    void exportAndImport();
    void batch();
    void subscribe();
    void unsubscribe();
    void collectQueue();
    void loadFresh();
    void liveInstance();

    World& world_;
    int const number_;
    std::mt19937_64 random_;
    unsigned names_ = 0;
    std::vector<std::unique_ptr<corebus::msg_svc::eventmgr::Connection>> connections_;
};

}  // namespace qbstress
