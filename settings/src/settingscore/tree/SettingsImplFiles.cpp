// The lazy load of a product, and the ways in which a change is saved.

#include <settingscore/errors/FileExceptions.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/tree/LoadAndSave.hpp>
#include <settingscore/tree/NodeView.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

using detail::LoadAndSave;
using detail::NodeView;
using detail::SharedTreeLock;

// --- Load -----------------------------------------------------------------------------------

void SettingsImpl::loadIfNotInitializedYet() const {
    if (content_.loadOnce.isDone()) return;
    const_cast<SettingsImpl*>(this)->loadIfNotInitializedYet();
}

void SettingsImpl::loadIfNotInitializedYet() {
    if (content_.loadOnce.isDone()) return;
    ustring errors;
    content_.loadOnce.run([this, &errors] {
        LoadAndSave::load(*this, errors);
        // From here on the other threads see what was loaded.
        content_.pending.store(false, std::memory_order_release);
    });
    // Only the call that ran the load comes here with errors: a defective file is reported once.
    if (!errors.empty()) {
        throw exception::ErrorReadingSettingsData(exception::ErrorCode::LazyLoadFailed, errors);
    }
}

void SettingsImpl::acceptChildren(SettingsImpl& loaded) {
    boost::shared_ptr<SettingsImpl> const self = shared_from_this();
    content_.children.swap(loaded.content_.children);
    for (auto const& entry : content_.children.get())
        entry.second->content_.parent = self;
    if (!content_.version) content_.version = loaded.content_.version;
    if (!content_.visible) content_.visible = loaded.content_.visible;
}

// --- Save -----------------------------------------------------------------------------------

void SettingsImpl::updateSettingsFile(std::string const& levelName) {
    if (SettingsLevel const* const level = SettingsLevelManager::findLevel(levelName)) {
        LoadAndSave::saveChange(*level, *this);
    } else if (isConnectedToTheSettingsTree()) {
        validateLevelName(levelName);
    }
}

void SettingsImpl::saveThisSubTree(std::string const& levelName) {
    SharedTreeLock const lock;
    if (!NodeView(*this, lock).isConnected()) return;
    SettingsLevel const* const level = SettingsLevelManager::findLevel(levelName);
    if (level && level->canHaveFile()) LoadAndSave::save(*level, shared_from_this(), lock);
}

}  // namespace settings::core
