#include <settingscore/persistence/writer/SaveSettingsFunctor.hpp>

#include <settingscore/persistence/writer/SaveWalk.hpp>
#include <settingscore/persistence/writer/TagWriter.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

void SaveSettingsFunctor::operator()(boost::shared_ptr<SettingsImpl const> const& obj,
                                     std::ostream& stream, std::string const& level) const {
    if (!level.empty()) obj->validateLevelName(level);
    if (text_) return put(stream, *text_);
    detail::HeldLock const lock(lock_);
    SaveWalk walk(stream);
    unsigned long const depth = obj->getNodeDepth(lock);
    obj->saveSelf(lock, walk, depth, level);
    obj->writeParentCloseTag(lock, walk, depth);
}

}  // namespace settings::core
