#include <settingscore/roots/ZcrIdRootMap.hpp>

#include <memory>

#include <boost/make_shared.hpp>
#include <settingscore/roots/ConcurrentTBBHashMap.hpp>
#include <settingscore/roots/SettingsRootStateMgr.hpp>

namespace settings::core {

namespace {

ZcrIdRootMap* createMap() {
    auto map = std::make_unique<ConcurrentTBBHashMap<ZcrIdRootMap>>();
    map->insert({BlessedZcrID, boost::make_shared<SettingsRootStateMgr>()});
    return map.release();
}

}  // namespace

ZcrIdRootMap& getZcrIdAndRootMap() {
    // Never destroyed: instances may be asked for until the process has ended.
    static ZcrIdRootMap* const zcrIdRootMap = createMap();
    return *zcrIdRootMap;
}

}  // namespace settings::core
