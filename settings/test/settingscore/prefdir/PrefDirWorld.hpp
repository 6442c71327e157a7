#pragma once

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <settingscore/host/UString.hpp>
#include <settingscore/prefdir/PreferencesDirectory.hpp>

#include "../../support/TempFolder.hpp"

namespace qbtest {

/// A home folder of its own, with nothing else in the environment that chooses a preference
/// directory.
class PrefDirWorld : public ::testing::Test {
protected:
    PrefDirWorld() {
        // Directories that are found once per process need a process per test.
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        folder_.emplace();
        std::filesystem::create_directories(home());
        environment().set("HOME", home().string());
        for (char const* name : {"ZENBAR_PREFDIR", "DISABLE_PREFCOPY3RELEASES", "SETTINGS_USERDIR",
                                 "SETTINGS_FACTORYDIR", "SETTINGS_WORKGROUPDIR"}) {
            environment().unset(name);
        }
    }
    ~PrefDirWorld() override { settings::core::setPreferencesDirectoryUStr({}); }

    std::filesystem::path folder() const { return folder_->path(); }
    std::filesystem::path home() const { return folder() / "home"; }
    std::filesystem::path releaseDir(std::string const& label) const {
        return home() / ".zenbar" / label;
    }
    ScopedEnvironment& environment() { return environment_; }

    /// For a process that ends before the fixture does.
    void removeFolder() { folder_.reset(); }
    /// The last act of a process that a death test started: runs the checks and leaves with 0 if
    /// they held.
    template <class Checks>
    [[noreturn]] void checkAndLeave(Checks const& checks) {
        try {
            checks();
        } catch (std::exception const& error) {
            ADD_FAILURE() << error.what();
        }
        removeFolder();
        std::fflush(nullptr);
        std::_Exit(HasFailure() ? 1 : 0);
    }

private:
    std::optional<TempFolder> folder_;
    ScopedEnvironment environment_;
};

}  // namespace qbtest
