#pragma once

#include <map>
#include <string>

#include <qbhost/QbHost.hpp>
#include <settingscore/prefdir/PreferencesDirectory.hpp>

#include "../../support/TempWorld.hpp"

namespace qbtest {

using Tree = std::map<std::string, std::string>;

/// A home folder of its own, with nothing else in the environment that chooses a preference
/// directory, and the texts that reach the console.
class PrefDirWorld : public TempWorld {
protected:
    PrefDirWorld() {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        for (char const* name : {"SETTINGS_USERDIR", "SETTINGS_FACTORYDIR"})
            environment().unset(name);
        qbhost::setConsole([this](std::string const& text) { console_ += text; }, {});
    }
    ~PrefDirWorld() override {
        settings::core::setPreferencesDirectoryUStr({});
        qbhost::setConsole({}, {});
    }
    auto releaseDir(std::string const& label) const { return homeDir() / ".zenbar" / label; }
    auto current() const { return releaseDir("K7716p"); }
    auto previous() const { return releaseDir("K7715q"); }

    std::string console_;
};

}  // namespace qbtest
