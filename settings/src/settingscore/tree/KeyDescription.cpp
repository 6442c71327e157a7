#include <settingscore/tree/KeyDescription.hpp>

#include <stdexcept>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/tree/NodeView.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

KeyDescription describeKey(boost::shared_ptr<Settings const> const& key) {
    auto const node = boost::dynamic_pointer_cast<SettingsImpl const>(key);
    if (!node) throw std::invalid_argument("describeKey: the key is empty.");
    detail::SharedTreeLock const lock;
    detail::NodeView const view(*node, lock);
    if (!view.isLeaf()) throw exception::NotAKeyName(view.parent(), view.name());
    KeyDescription description;
    description.typeIndex = view.rules().typeIndex();
    if (auto const sizes = view.rules().sizes()) {
        description.arraySize = std::make_pair(sizes->minArrSize(), sizes->maxArrSize());
    }
    description.metaData = view.metaData();
    description.validator = view.validatorInForce();
    description.runTimeDefault = view.runTimeDefault();
    for (SettingsLevel const& level : SettingsLevelManager::levels()) {
        if (view.storedValues().hasValue(level.position())) {
            description.storedLevels.push_back(level.levelName());
        }
    }
    return description;
}

}  // namespace settings::core
