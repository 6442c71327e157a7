#include "World.hpp"

#include <iostream>

#include <qbhost/QbHost.hpp>
#include <settingscore/errors/SettingsException.hpp>
#include <settingscore/rules/JValidator.hpp>
#include <settingscore/tree/ZSettings.hpp>
#include <settingscore/value/AnyBridge.hpp>

namespace qbstress {

using namespace settings::core;  // NOLINT(google-build-using-namespace)

namespace {

std::string file(std::string const& product, std::string const& body) {
    return Settings::settingsXMLFileHeader + "\n<settings name=\"" + product +
           "\" visible=\"true\" version=\"1\" " + Settings::settingsSchemaInfo + ">" + body +
           "</settings>\n";
}

std::string key(int number, bool withValue) {
    return "<key name=\"" + World::keyName(number) + "\" visible=\"true\"><int32>" +
           (withValue ? "<value>" + std::to_string(number) + "</value>" : "") + "</int32></key>";
}

/// Validators of both kinds read: the key beside, and a product that may not be loaded yet.
std::string validator(int group) {
    if (group % 2 == 0) return "";
    return "<validationfunc type='JAVA' packagename='stress' functionname='readOther'/>";
}

}  // namespace

World::World() {
    environment_.set("SETTINGS_FACTORYDIR", (folder() / "toolbox").string());
    environment_.set("SETTINGS_USERDIR", (folder() / "user").string());
    std::string body;
    for (int group = 0; group < groups; ++group) {
        body += "<settings name=\"g" + std::to_string(group) + "\" visible=\"true\">" +
                validator(group);
        for (int k = 0; k < keys; ++k)
            body += key(k, k % 2 == 0);
        body += "</settings>";
    }
    body += "<settings name=\"dynamic\" visible=\"true\"/>";
    qbtest::writeFile(folder() / "toolbox" / "busy" / "busy.settings", file("busy", body));
    for (int product = 0; product < freshProducts; ++product) {
        std::string const name = productName(product);
        std::string const content = validator(1) + key(0, true) + key(1, false);
        qbtest::writeFile(folder() / "toolbox" / name / (name + ".settings"), file(name, content));
        // The user file's value is checked while the product loads: by a validator that reads.
        qbtest::writeFile(folder() / "user" / (name + ".settings"), file(name, key(0, true)));
    }
    JValidator::setJValProxy([this](std::string const&, std::string const&,
                                    boost::shared_ptr<Settings const> const& parent,
                                    std::string const& name, boost::any const& value) {
        if (boost::any_cast<int>(value) < 0) throw SettingsException("stress", "negative", name);
        for (boost::any const& beside : {parent->getAny("k0", ""), parent->getAny("k1", "user")}) {
            static_cast<void>(beside);
        }
        if (root_) {
            int const product = boost::any_cast<int>(value) / 1000 % freshProducts;
            auto const other = root_->getChild(productName(product));
            if (other && other->getChild("k0")) checkValue(other->getAny("k0", ""), 0);
        }
    });
    root_ = Settings::getSettingsRoot(BlessedZcrID);
    rootId_ = qf::i18n::to_ustring(root_->getImplNodeEventId().toString());
    ZSettings::getZSettingsRoot(BlessedZcrID)->enableEventQueue(true);
}

World::~World() { JValidator::clearFunctions(); }

void World::fail(std::string const& what) {
    if (!failed_.exchange(true)) std::cerr << "stress: " << what << std::endl;
}

void World::checkValue(boost::any const& value, int key) {
    if (value.empty()) return;
    int const* const number = boost::any_cast<int>(&value);
    if (!number || *number % 1000 != key) fail("a read gave a value that nobody set");
}

void World::checkTags(SettingsEvent const& event) {
    auto const& tags = event.typeInformation().userTags();
    if (event.getZcrId() != BlessedZcrID) return;
    if (tags.empty() || tags.back().size() < rootId_.size() ||
        tags.back().compare(tags.back().size() - rootId_.size(), rootId_.size(), rootId_) != 0) {
        fail("an event's tags do not lead to the root");
    }
}

void World::checkFile() {
    qf::ustring const path = qf::i18n::to_ustring((folder() / "user" / "busy.settings").string());
    auto const read = Settings::importAsStandaloneObject(path);
    auto const live = root_->getChild("busy");
    for (auto const& group : read->getChildren()) {
        auto const liveGroup = live->getChild(group->getName());
        if (!liveGroup) return fail("the file has a group that memory lacks");
        for (auto const& child : group->getChildren()) {
            if (!child->isLeafNode()) continue;
            std::string const name = child->getName();
            if (!settingscore::boostany::isEqual(group->getAny(name, "user"),
                                                 liveGroup->getAny(name, "user"))) {
                fail("the file and memory differ in " + group->getName() + "." + name);
            }
        }
        if (liveGroup->getChildren().size() != group->getChildren().size()) {
            fail("the file and memory differ in the children of " + group->getName());
        }
    }
}

}  // namespace qbstress
