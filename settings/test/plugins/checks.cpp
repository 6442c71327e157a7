// C validators for the tests.

#include <stdexcept>
#include <string>

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/errors/SettingsException.hpp>
#include <settingscore/host/HostApi.hpp>
#include <settingscore/tree/Settings.hpp>

using settings::core::Settings;
using Parent = boost::shared_ptr<Settings const>;

extern "C" {

QBHOST_API void acceptAll(Parent const&, std::string const&, boost::any const&) {}

QBHOST_API void refuse(Parent const&, std::string const&, boost::any const&) {
    throw settings::core::SettingsException("checks:refused", "the check says no", "refused");
}

/// Tells in its refusal what it was given, as "PARENT/KEY".
QBHOST_API void refuseWithNames(Parent const& parent, std::string const& keyName,
                                boost::any const&) {
    std::string const parentName = parent ? parent->getName() : "nothing";
    throw settings::core::SettingsException("checks:names", parentName + "/" + keyName, keyName);
}

/// Fails with what is no exception of the host.
QBHOST_API void fail(Parent const&, std::string const&, boost::any const&) {
    throw std::runtime_error("the check is broken");
}

/// Accepts an int that is no greater than the value of the key "limit" beside it.
QBHOST_API void withinLimit(Parent const& parent, std::string const&, boost::any const& value) {
    if (boost::any_cast<int>(value) > boost::any_cast<int>(parent->getAny("limit", ""))) {
        throw settings::core::SettingsException("checks:limit", "above the limit", "limit");
    }
}
}
