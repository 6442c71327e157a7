#pragma once

#include <boost/shared_ptr.hpp>
#include <settingscore/host/ContextMgr.hpp>
#include <settingscore/roots/ConcurrentMap.hpp>

namespace settings::core {

class SettingsRootStateMgr;

using ZcrIdRootMap = ConcurrentMap<ZcrID const, boost::shared_ptr<SettingsRootStateMgr>>;

/// The instances of the process. The first call makes the map, with the blessed instance in it.
ZcrIdRootMap& getZcrIdAndRootMap();

}  // namespace settings::core
