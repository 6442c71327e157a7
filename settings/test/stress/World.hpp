#pragma once

#include <atomic>
#include <iostream>

#include <boost/algorithm/string/predicate.hpp>
#include <qbhost/QbHost.hpp>
#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/errors/SettingsException.hpp>
#include <settingscore/rules/JValidator.hpp>
#include <settingscore/tree/SettingsEvent.hpp>
#include <settingscore/tree/ZSettings.hpp>
#include <settingscore/typed/Live.hpp>

#include <support/SettingsXml.hpp>
#include <support/TempFolder.hpp>

namespace qbstress {

using namespace settings::core;  // NOLINT(google-build-using-namespace)
namespace typed = settingscore::typed;
using Node = boost::shared_ptr<Settings>;

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

    World() {
        environment_.set("SETTINGS_FACTORYDIR", (folder() / "toolbox").string());
        environment_.set("SETTINGS_USERDIR", (folder() / "user").string());
        // Validators read: the key beside, and a product that may not be loaded yet.
        std::string const validator =
            "<validationfunc type='JAVA' packagename='stress' functionname='readOther'/>";
        std::string body = "<settings name=\"dynamic\" visible=\"true\"/>";
        for (int group = 0; group < groups; ++group) {
            body += "<settings name=\"g" + std::to_string(group) + "\" visible=\"true\">" +
                    (group % 2 == 0 ? "" : validator);
            for (int number = 0; number < keys; ++number)
                body += key(number, number % 2 == 0);
            body += "</settings>";
        }
        writeProduct("toolbox/busy/", "busy", body);
        for (int product = 0; product < freshProducts; ++product) {
            std::string const name = productName(product);
            writeProduct("toolbox/" + name + "/", name, validator + key(0, true) + key(1, false));
            // The user file's value is checked while the product loads: by a validator that reads.
            writeProduct("user/", name, key(0, true));
        }
        JValidator::setJValProxy([this](auto const&, auto const&, auto const& parent,
                                        std::string const& name, boost::any const& value) {
            int const number = boost::any_cast<int>(value);
            if (number < 0) throw SettingsException("stress", "negative", name);
            checkValue(parent->getAny("k0", ""), 0);
            checkValue(parent->getAny("k1", "user"), 1);
            if (!root_) return;
            auto const other = root_->getChild(productName(number / 1000 % freshProducts));
            if (other && other->getChild("k0")) checkValue(other->getAny("k0", ""), 0);
        });
        root_ = Settings::getSettingsRoot(BlessedZcrID);
        rootId_ = qf::i18n::to_ustring(root_->getImplNodeEventId().toString());
        ZSettings::getZSettingsRoot(BlessedZcrID)->enableEventQueue(true);
        for (int group = 0; group < groups; ++group) {
            for (int number = 0; number < keys; number += 2)
                lives_.emplace_back("busy.g" + std::to_string(group) + "." + keyName(number));
        }
    }
    /// Values that all threads read; of the keys with an even number, which always have one.
    typed::Live<int> const& live(int group, int key) const {
        return lives_[static_cast<std::size_t>(group * keys / 2 + key / 2)];
    }
    /// To be called when nothing changes any more.
    void checkLives() {
        for (int group = 0; group < groups; ++group) {
            auto const node = root_->getSettingsByFullName("busy.g" + std::to_string(group));
            for (int number = 0; number < keys; number += 2) {
                boost::any const value = node->getAny(keyName(number), "");
                if (live(group, number).get() != boost::any_cast<int>(value))
                    fail("a value that is followed is not the one in force");
            }
        }
    }
    ~World() { JValidator::clearFunctions(); }

    Node const& root() const { return root_; }
    std::filesystem::path folder() const { return folder_.path(); }

    static std::string keyName(int key) { return "k" + std::to_string(key); }
    static std::string productName(int product) { return "fresh" + std::to_string(product); }
    static int value(int key, std::uint64_t random) {
        return static_cast<int>(random % 100000) * 1000 + key;
    }
    /// Fails unless `value`, if there is one, is one that somebody may have set on the key.
    void checkValue(boost::any const& value, int key) {
        if (value.empty()) return;
        int const* const number = boost::any_cast<int>(&value);
        if (!number || *number % 1000 != key) fail("a read gave a value that nobody set");
    }
    /// Fails unless the event's tags lead from its node to the root.
    void checkTags(SettingsEvent const& event) {
        auto const& tags = event.typeInformation().userTags();
        if (event.getZcrId() != BlessedZcrID) return;
        if (tags.empty() || !boost::algorithm::ends_with(tags.back(), rootId_))
            fail("an event's tags do not lead to the root");
    }
    /// Fails unless the file of the busy product, read back, says what memory says.
    void checkFile() {
        auto const path = qbtest::toUString(folder() / "user/busy.settings");
        std::string const read = told(Settings::importAsStandaloneObject(path));
        std::string const live = told(root_->getChild("busy"));
        if (read != live) fail("the file and memory differ:\n" + read + "\n" + live);
    }

    void fail(std::string const& what) {
        if (!failed_.exchange(true)) std::cerr << "stress: " << what << std::endl;
    }
    bool failed() const { return failed_; }

private:
    void writeProduct(std::string const& place, std::string const& name, std::string const& body) {
        qbtest::writeFile(folder() / (place + name + ".settings"),
                          qbtest::settingsXml(name, body, "visible=\"true\" version=\"1\""));
    }
    /// What is below a group, with the values of the user's level.
    static std::string told(boost::shared_ptr<Settings const> const& group) {
        std::string text;
        for (auto const& child : group->getChildren()) {
            text += " " + child->getName();
            if (child->isLeafNode()) {
                boost::any const value = group->getAny(child->getName(), "user");
                if (!value.empty()) text += "=" + std::to_string(boost::any_cast<int>(value));
            } else {
                text += "(" + told(child) + ")";
            }
        }
        return text;
    }
    static std::string key(int number, bool withValue) {
        return "<key name=\"" + keyName(number) + "\" visible=\"true\"><int32>" +
               (withValue ? "<value>" + std::to_string(number) + "</value>" : "") +
               "</int32></key>";
    }

    qbtest::TempFolder folder_;
    qbtest::ScopedEnvironment environment_;
    Node root_;
    std::vector<typed::Live<int>> lives_;
    qf::ustring rootId_;
    std::atomic<bool> failed_{false};
};

}  // namespace qbstress
