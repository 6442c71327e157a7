#pragma once

#include <memory>
#include <mutex>

#include <settingscore/tree/SettingsEvent.hpp>
#include <settingscore/tree/ZSettings.hpp>

#include "Place.hpp"

namespace qbprocesses {

/// All keys of an instance, with what they have on a level; with none, with what is in force.
Values valuesOf(settings::core::ZcrID const& id, std::string const& level);

/// Follows a tree by its events alone, from the state in which it is at first.
class Heard {
public:
    Heard();
    /// What the events have led to.
    Values state() const;

private:
    void hear(settings::core::SettingsEvent const& event);

    mutable std::mutex mutex_;
    Values state_;
    std::unique_ptr<corebus::msg_svc::eventmgr::Connection> connection_;
};

}  // namespace qbprocesses
