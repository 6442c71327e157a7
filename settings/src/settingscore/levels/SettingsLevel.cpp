#include <settingscore/levels/SettingsLevel.hpp>

#include <utility>

namespace settings::core {

SettingsLevel::SettingsLevel(std::string levelName, boost::function<ustring()> rootPathQuery,
                             bool modifiable, unsigned long fileLimit, bool factoryLevel,
                             bool workgroupLevel, bool userLevel, std::size_t position)
    : position_(position),
      levelName_(std::move(levelName)),
      modifiable_(modifiable),
      fileLimit_(fileLimit),
      rootPathQuery_(std::move(rootPathQuery)),
      factoryLevel_(factoryLevel),
      workgroupLevel_(workgroupLevel),
      userLevel_(userLevel) {}

ustring SettingsLevel::levelRootPath() const { return initRootPathOnce(); }

ustring SettingsLevel::initRootPathOnce() const {
    return rootPathQuery_ ? rootPathQuery_() : ustring();
}

}  // namespace settings::core
