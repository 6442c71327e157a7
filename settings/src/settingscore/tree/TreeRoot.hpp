#pragma once

#include <set>
#include <string>

#include <boost/shared_ptr.hpp>
#include <settingscore/tree/SettingsImpl.hpp>
#include <settingscore/value/AsciiCase.hpp>

namespace settings::core {

class SettingsEvent;

/// What a tree asks of its root. The root of an instance, `SettingsImplRoot`, answers.
class TreeRoot : public SettingsImpl {
public:
    using SettingsImpl::SettingsImpl;

    /// True while this is the root that its instance hands out.
    virtual bool isInUse() const = 0;
    /// False if an event would reach nobody, so that none need be made.
    virtual bool hasAudience() const = 0;
    /// Queues the event if that is enabled, and in any case delivers it to the listeners. What a
    /// listener throws goes on to the caller.
    virtual void broadcastEvent(boost::shared_ptr<SettingsEvent const> const& event) const = 0;

    /// False if no event of any root would reach anybody.
    static bool isAnyAudience();

    /// @{
    /// Keeps the names of the products, of which no two may differ in case alone. Under exclusive
    /// access, or while no other thread reaches the root.
    /// @return the name that stands in the way; null, with the name entered, if there is none
    std::string const* enterName(std::string const& name);
    void strikeName(std::string const& name) { names_.erase(name); }
    /// @}

protected:
    /// Counts the queues that hear events, of all roots.
    static void countQueue(bool enabled);

private:
    std::set<std::string, detail::LessWithoutCase> names_;
};

}  // namespace settings::core
