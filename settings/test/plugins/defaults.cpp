// C runtime defaults for the tests.

#include <stdexcept>
#include <string>

#include <boost/any.hpp>
#include <settingscore/errors/SettingsException.hpp>
#include <settingscore/host/HostApi.hpp>
#include <settingscore/host/UString.hpp>

extern "C" {

QBHOST_API void giveDouble(boost::any* result) { *result = 2.5; }

QBHOST_API void giveString(boost::any* result) { *result = qf::ustring(u"computed"); }

QBHOST_API void failWithHostError(boost::any*) {
    throw settings::core::SettingsException("defaults:failed", "no default today", "failed");
}

QBHOST_API void fail(boost::any*) { throw std::runtime_error("the default is broken"); }
}
