#include <settingscore/tree/KeyDescription.hpp>

#include <stdexcept>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/persistence/SettingsLevelManager.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

KeyDescription describeKey(boost::shared_ptr<Settings const> const& key) {
    auto const node = boost::dynamic_pointer_cast<SettingsImpl const>(key);
    if (!node) throw std::invalid_argument("describeKey: the key is empty.");
    detail::SharedTreeLock const lock;
    if (!node->isLeafWithLock()) {
        throw exception::NotAKeyName(node->getParentImpl(), node->nameWithLock());
    }
    KeyDescription description;
    description.typeIndex = node->getDataTypeIndexInternal();
    if (auto const sizes = node->getValueArraySizeValidator()) {
        description.arraySize = std::make_pair(sizes->minArrSize(), sizes->maxArrSize());
    }
    description.metaData = node->metaDataWithLock(lock);
    description.validator = node->getValidatorFromParentChain(lock);
    description.runTimeDefault = node->runTimeDefaultWithLock(lock);
    for (SettingsLevel const& level : SettingsLevelManager::levels()) {
        if (!node->getAnyValueWithLock(lock, level.levelName(), false).empty()) {
            description.storedLevels.push_back(level.levelName());
        }
    }
    return description;
}

}  // namespace settings::core
