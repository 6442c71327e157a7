#include "Checker.hpp"

#include <filesystem>

#include <qbhost/QbHost.hpp>
#include <settingscore/errors/Exceptions.hpp>
#include <support/TempFolder.hpp>

#include "Heard.hpp"

namespace qbprocesses {

using namespace settings::core;  // NOLINT(google-build-using-namespace)

namespace {

bool isOwnOf(int number, std::string const& key) {
    std::string const text = std::to_string(number);
    return key.rfind("common.w" + text + ".", 0) == 0 || key.rfind("p" + text + ".", 0) == 0 ||
           key.rfind("common.dynamic.w" + text + "_", 0) == 0;
}

}  // namespace

Checker::Checker(Place const& place, Options const& options, std::set<int> const& killed)
    : place_(place), options_(options), killed_(killed) {
    for (int number = 0; number < options.numbers(); ++number)
        deeds_.push_back(Journal::read(place.journal(number)));
}

std::vector<std::string> Checker::run() {
    checkFolder();
    readFiles();
    for (int number = 0; number < options_.numbers(); ++number) {
        checkOwn(number);
        for (std::string const& group : Place::ownGroups(number))
            checkTogether(group);
        if (killed_.count(number) == 0) checkState(number);
    }
    checkCommon();
    checkTogether("common.batch");
    return lost_;
}

/// Nothing but files that can be read, the lock, and what a kill leaves.
void Checker::checkFolder() {
    for (auto const& entry : std::filesystem::directory_iterator(place_.user())) {
        std::string const name = entry.path().filename().string();
        if (name == ".qbsettings.lock" || name.rfind("temp0x", 0) == 0) continue;
        try {
            if (entry.path().extension() != ".settings") throw std::runtime_error("no such name");
            Settings::importAsStandaloneObject(qbtest::toUString(entry.path()));
        } catch (std::exception const& error) {
            lost("the file " + name + ": " + error.what());
        }
    }
}

/// As a process that starts now sees them.
void Checker::readFiles() {
    static int instances = 0;
    ZcrID const instance(++instances);
    qbhost::startInstance(instance);
    ZSettings::setSettingsFileLocation(instance, qbtest::toUString(place_.factory()), boost::none,
                                       qbtest::toUString(place_.user()));
    try {
        values_ = valuesOf(instance, "user");
    } catch (exception::ErrorReadingSettingsData const& error) {
        lost("a load reports: " + qf::i18n::to_string(error.getDetailErrorMsg()));
    }
    qbhost::endInstance(instance);
}

std::string const& Checker::inFiles(std::string const& key) const {
    auto const found = values_.find(key);
    return found == values_.end() ? noKey : found->second;
}

void Checker::checkOwn(int number) {
    Values expected;
    std::vector<Deed> const& deeds = deeds_[static_cast<std::size_t>(number)];
    for (Deed const& deed : deeds) {
        if (deed.end == Deed::End::failed)
            lost("number " + std::to_string(number) + " could not do its work: " + deed.reason);
        if (deed.end != Deed::End::done) continue;
        ++done_;
        for (auto const& [key, value] : deed.assigned) {
            if (isOwnOf(number, key)) expected[key] = value;
        }
    }
    // What was on its way is there or not; `checkTogether` looks whether as a whole.
    Values onTheWay;
    if (!deeds.empty() && deeds.back().end == Deed::End::none) {
        for (auto const& [key, value] : deeds.back().assigned) {
            if (isOwnOf(number, key)) onTheWay[key] = value;
        }
    }
    for (auto const& [key, value] : onTheWay) {
        if (inFiles(key) == value) expected[key] = value;
    }
    for (auto const& [key, value] : values_) {
        if (isOwnOf(number, key)) expected.emplace(key, noValue);
    }
    for (auto const& [key, value] : expected) {
        if (inFiles(key) != value)
            lost(key + " is " + inFiles(key) + " and was said to be " + value);
    }
}

void Checker::checkCommon() {
    std::map<std::string, std::set<std::string>> possible;
    for (std::vector<Deed> const& deeds : deeds_) {
        for (Deed const& deed : deeds) {
            for (auto const& [key, value] : deed.assigned)
                possible[key].insert(value);
        }
    }
    for (auto const& [key, value] : values_) {
        bool isOwn = false;
        for (int number = 0; number < options_.numbers(); ++number)
            isOwn = isOwn || isOwnOf(number, key);
        bool const isInitial = value == noValue && key.rfind("common.dynamic.", 0) != 0;
        if (!isOwn && !isInitial && possible[key].count(value) == 0)
            lost(key + " is " + value + ", which nobody set");
    }
}

void Checker::checkTogether(std::string const& group) {
    std::set<std::string> found;
    for (std::string const& key : Place::batchKeys(group))
        found.insert(inFiles(key));
    if (found.size() > 1) lost("a batch of " + group + " is there in part");
}

void Checker::checkState(int number) {
    if (!std::filesystem::exists(place_.state(number))) return;
    Values const read = readValues(place_.state(number));
    if (read == values_) return;
    std::string differences;
    for (auto const& [key, value] : read) {
        if (inFiles(key) != value) differences += " " + key + "=" + value;
    }
    for (auto const& [key, value] : values_) {
        if (read.count(key) == 0) differences += " " + key + "=" + noKey;
    }
    lost("number " + std::to_string(number) + " reads otherwise than the files say:" + differences);
}

}  // namespace qbprocesses
