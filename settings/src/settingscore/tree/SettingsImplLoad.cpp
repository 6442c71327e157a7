// The lazy load of a product from its files, and the ways in which a change is saved.

#include <atomic>
#include <mutex>
#include <optional>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/persistence/SettingsLevel.hpp>
#include <settingscore/persistence/SettingsLevelManager.hpp>
#include <settingscore/persistence/UnreadFiles.hpp>
#include <settingscore/persistence/writer/SaveSettingsFunctor.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/tree/SettingsImpl.hpp>
#include <settingscore/tree/SettingsSaving.hpp>

namespace settings::core {

using detail::SharedTreeLock;

namespace {

/// The replaceable loader and saver of the process.
struct Hooks {
    std::mutex mutex;
    SettingsImpl::LoadFunc loadFunc_ = [](SettingsImpl* node, ustring& errors) {
        node->loadSettingsOnce(errors);
    };
    SettingsImpl::SaveFunc saveFunc_ = &SettingsFile::saveSettings;
    std::atomic<bool> saveFuncIsOwn{true};

    static Hooks& instance() {
        static auto* const hooks = new Hooks;
        return *hooks;
    }
    template <class Function>
    static Function get(Function Hooks::*hook) {
        std::lock_guard<std::mutex> const lock(instance().mutex);
        return instance().*hook;
    }
    template <class Function>
    static void set(Function Hooks::*hook, Function const& function) {
        std::lock_guard<std::mutex> const lock(instance().mutex);
        instance().*hook = function;
    }
};

void appendLine(ustring& errors, ustring const& path, ustring const& text) {
    errors += path + u'\t' + text + u'\n';
}

}  // namespace

void SettingsImpl::setLoadCallOnceFunc(LoadFunc const& function) {
    Hooks::set(&Hooks::loadFunc_, function);
}

void SettingsImpl::setSaveFunc(SaveFunc const& function) {
    Hooks::instance().saveFuncIsOwn = false;
    Hooks::set(&Hooks::saveFunc_, function);
    Hooks::instance().saveFuncIsOwn = function.contains(&SettingsFile::saveSettings);
}

void turnOffSettingsSaving() {
    SettingsImpl::setSaveFunc([](SettingsLevel const*, boost::shared_ptr<SettingsImpl> const&,
                                 SaveSettingsFunctor const&) {});
}

void turnOnSettingsSaving() { SettingsImpl::setSaveFunc(&SettingsFile::saveSettings); }

// --- Load -----------------------------------------------------------------------------------

void SettingsImpl::loadIfNotInitializedYet() const {
    if (loadOnce_.isDone()) return;
    const_cast<SettingsImpl*>(this)->loadIfNotInitializedYet();
}

void SettingsImpl::loadIfNotInitializedYet() {
    if (loadOnce_.isDone()) return;
    ustring errors;
    loadOnce_.run([this, &errors] {
        Hooks::get (&Hooks::loadFunc_)(this, errors);
        // From here on the other threads see what was loaded.
        contentPending_.store(false, std::memory_order_release);
    });
    // Only the call that ran the load comes here with errors: a defective file is told once.
    if (!errors.empty()) {
        throw exception::ErrorReadingSettingsData(exception::ErrorCode::LazyLoadFailed, errors);
    }
}

void SettingsImpl::loadSettingsOnce(ustring& errors) {
    Validator validator;
    boost::shared_ptr<SettingsImplRoot const> root;
    {
        SharedTreeLock const lock;
        if (!isTopLevelNodeWithLock(lock)) return;
        validator = getValidatorFromParentChain(lock);
        root = getTreeRootWithLock(lock);
    }
    // Collects what the files say; that its visibility is still empty at the end means that no file
    // contributed.
    auto merged = boost::make_shared<SettingsImpl>(name_, isLeaf_, boost::none, validator);
    bool firstMergeDone = false;
    bool isAnyFileThere = false;
    auto const& levels = SettingsLevelManager::levels();
    for (auto level = levels.rbegin(); level != levels.rend(); ++level) {
        for (qf::filesystem::path const& file :
             SettingsFile::getAllSettingsFileForProduct(name_, &*level, root)) {
            isAnyFileThere = true;
            std::size_t const errorsBefore = errors.size();
            std::optional<UnreadFiles::Passing> passing;
            // Whatever a file can do wrong costs the contribution of that file alone.
            try {
                auto const object = SettingsFile::loadSettingsObject(file);
                if (object && firstMergeDone) {
                    merged = mergeSettingsObject(merged, object, level->levelName(),
                                                 &firstMergeDone, errors, file.str());
                } else if (object) {
                    merged = takeFirstFile(*merged, object, *level);
                    firstMergeDone = true;
                }
            } catch (exception::ErrorReadingSettingsData const& e) {
                appendLine(errors, file.str(), e.getDetailErrorMsg());
                passing = UnreadFiles::passing(e, file);
            } catch (qf::except::IMsgIDException const& e) {
                appendLine(errors, file.str(), e.GetUnicodeMessageTxt());
            } catch (std::exception const& e) {
                appendLine(errors, file.str(), qf::i18n::to_ustring(e.what()));
                passing = UnreadFiles::passing(e, file);
            }
            if (!level->canBeModified()) continue;
            if (errors.size() == errorsBefore) {
                UnreadFiles::setRead(root, file);
            } else {
                UnreadFiles::setUnread(root, file, passing);
            }
        }
    }
    if (!merged->visible_) {
        // Made in memory, there is nothing to load; or the lines say why nothing could be.
        if (visible_ || isAnyFileThere) return;
        errors += u"There is no Settings files associated with this product node: " +
                  qf::i18n::to_ustring(name_) +
                  u". The Settings files may be deleted after ZENBAR started up. Please restart "
                  u"ZENBAR to fully solve this issue." +
                  u'\n';
        return;
    }
    acceptChildren(*merged);
}

void SettingsImpl::acceptChildren(SettingsImpl& loaded) {
    boost::shared_ptr<SettingsImpl> const self = sharedThis();
    children_.swap(loaded.children_);
    for (auto const& entry : children_)
        entry.second->parent_ = self;
    if (!versionNumber_) versionNumber_ = loaded.versionNumber_;
    if (!visible_) visible_ = loaded.visible_;
}

// --- Save -----------------------------------------------------------------------------------

void SettingsImpl::updateSettingsFile(std::string const& level) {
    SettingsLevel const* const settingsLevel = SettingsLevelManager::findLevel(level);
    // The library's own saver does nothing on such a level; another one is to be called all the
    // same.
    if (settingsLevel && !settingsLevel->canHaveFile() && Hooks::instance().saveFuncIsOwn) return;
    SharedTreeLock const lock;
    if (!isConnectedWithLock(lock)) return;
    validateLevelName(level);
    saveWithLock(lock, settingsLevel);
}

void SettingsImpl::saveThisSubTree(std::string const& level) {
    SharedTreeLock const lock;
    if (!isConnectedWithLock(lock)) return;
    if (!SettingsLevelManager::getSettingsLevelManagerInstance()->isWritableLevel(level)) return;
    saveWithLock(lock, SettingsLevelManager::findLevel(level));
}

void SettingsImpl::saveWithLock(SharedTreeLock const& lock, SettingsLevel const* level) {
    Hooks::get (&Hooks::saveFunc_)(level, sharedThis(), SaveSettingsFunctor(lock.get()));
}

}  // namespace settings::core
