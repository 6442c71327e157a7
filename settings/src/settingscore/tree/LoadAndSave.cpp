#include <settingscore/tree/LoadAndSave.hpp>

#include <algorithm>
#include <atomic>
#include <mutex>

#include <settingscore/levels/SettingsLevel.hpp>
#include <settingscore/tree/NodeView.hpp>
#include <settingscore/tree/SettingsSaving.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core {

namespace detail {

namespace {

// Constant, so that they are there before any initialiser runs.
LoadAndSave::Files files{};
std::atomic<bool> isSaverDefault{true};
std::atomic<decltype(LoadAndSave::Sharing::bringUpToDate)> bringUpToDateFunc{nullptr};
std::atomic<decltype(LoadAndSave::Sharing::leftTree)> leftTreeFunc{nullptr};

/// What was put in the place of the defaults.
struct Replaced {
    std::mutex mutex;
    boost::optional<SettingsImpl::LoadFunc> loader;
    boost::optional<SettingsImpl::SaveFunc> saver;

    static Replaced& instance() {
        static auto& replaced = neverDestroyed<Replaced>();
        return replaced;
    }
};

SettingsImpl::LoadFunc currentLoader() {
    Replaced& replaced = Replaced::instance();
    std::lock_guard<std::mutex> const lock(replaced.mutex);
    if (replaced.loader) return *replaced.loader;
    if (files.load) return files.load;
    return [](SettingsImpl*, ustring&) {};
}

SettingsImpl::SaveFunc currentSaver() {
    Replaced& replaced = Replaced::instance();
    std::lock_guard<std::mutex> const lock(replaced.mutex);
    if (replaced.saver) return *replaced.saver;
    return files.save;
}

}  // namespace

void LoadAndSave::setFiles(Files const& registered) { files = registered; }

void LoadAndSave::setSharing(Sharing const& sharing) {
    bringUpToDateFunc = sharing.bringUpToDate;
    leftTreeFunc = sharing.leftTree;
}

void LoadAndSave::productLeft(boost::shared_ptr<SettingsImpl const> const& product) {
    if (auto const function = leftTreeFunc.load(std::memory_order_relaxed)) function(product);
}

bool LoadAndSave::isShared() { return bringUpToDateFunc.load(std::memory_order_relaxed); }

void LoadAndSave::bringUpToDate(LevelAdoption::Kept const& nodes) {
    auto const function = bringUpToDateFunc.load(std::memory_order_relaxed);
    if (!function) return;
    std::vector<boost::shared_ptr<SettingsImpl>> products;
    {
        SharedTreeLock const lock;
        for (SettingsImpl const* const node : nodes) {
            NodeView const view(*node, lock);
            if (view.isTreeRoot() || !view.isConnected()) continue;
            auto const product = boost::const_pointer_cast<SettingsImpl>(view.topLevel());
            if (std::find(products.begin(), products.end(), product) == products.end())
                products.push_back(product);
        }
    }
    for (boost::shared_ptr<SettingsImpl> const& product : products)
        function(*product, nodes);
}

void LoadAndSave::setLoader(SettingsImpl::LoadFunc const& loader) {
    Replaced& replaced = Replaced::instance();
    std::lock_guard<std::mutex> const lock(replaced.mutex);
    replaced.loader = loader;
}

void LoadAndSave::setSaver(SettingsImpl::SaveFunc const& saver) {
    Replaced& replaced = Replaced::instance();
    std::lock_guard<std::mutex> const lock(replaced.mutex);
    isSaverDefault = false;  // First: the saver that comes is called from its first moment on.
    replaced.saver = saver;
    isSaverDefault = files.save && saver.contains(files.save);
}

void LoadAndSave::setDefaultSaver() {
    Replaced& replaced = Replaced::instance();
    std::lock_guard<std::mutex> const lock(replaced.mutex);
    replaced.saver = boost::none;
    isSaverDefault = true;
}

bool LoadAndSave::saverIsDefault() { return isSaverDefault; }

void LoadAndSave::load(SettingsImpl& node, ustring& errors) { currentLoader()(&node, errors); }

void LoadAndSave::save(SettingsLevel const& level, boost::shared_ptr<SettingsImpl> const& node,
                       SharedTreeLock const& lock) {
    if (files.callSaver) files.callSaver(currentSaver(), level, node, lock);
}

void LoadAndSave::saveChange(SettingsLevel const& level, SettingsImpl& node) {
    // The library's own saver does nothing on such a level; another one is to be called all the
    // same.
    if (!level.canHaveFile() && saverIsDefault()) return;
    SharedTreeLock const lock;
    if (NodeView(node, lock).isConnected()) save(level, node.shared_from_this(), lock);
}

void LoadAndSave::deleteFile(SettingsLevel const& level, std::string const& product) {
    if (files.deleteFile) files.deleteFile(level, product);
}

ValueWriterFcn LoadAndSave::writerFor(boost::any const& first) {
    return files.writerFor ? files.writerFor(first) : nullptr;
}

}  // namespace detail

void SettingsImpl::setLoadCallOnceFunc(LoadFunc const& function) {
    detail::LoadAndSave::setLoader(function);
}

void SettingsImpl::setSaveFunc(SaveFunc const& function) {
    detail::LoadAndSave::setSaver(function);
}

void turnOffSettingsSaving() {
    SettingsImpl::setSaveFunc([](SettingsLevel const*, boost::shared_ptr<SettingsImpl> const&,
                                 SaveSettingsFunctor const&) {});
}

void turnOnSettingsSaving() { detail::LoadAndSave::setDefaultSaver(); }

}  // namespace settings::core
