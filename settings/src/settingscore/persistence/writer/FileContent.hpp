#pragma once

#include <string>

#include <boost/shared_ptr.hpp>

namespace settings::core {

class SaveSettingsFunctor;
class SettingsImpl;

/// What keeps a file from being read back as it was written: the key or group at fault, and a
/// sentence for people that has its full name.
struct UnwritableContent {
    boost::shared_ptr<SettingsImpl const> node;
    std::string reason;

    explicit operator bool() const { return !reason.empty(); }
};

/// Looks for the first name, value or function in what `functor` would write of a product at a
/// level that the reader would refuse, or give back as something else.
UnwritableContent findUnwritable(SaveSettingsFunctor const& functor,
                                 boost::shared_ptr<SettingsImpl const> const& product,
                                 std::string const& level);

}  // namespace settings::core
