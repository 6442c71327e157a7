#include <settingscore/roots/Wiring.hpp>

#include <boost/thread/shared_mutex.hpp>
#include <settingscore/levels/LevelDirectories.hpp>
#include <settingscore/levels/SettingsLevel.hpp>
#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/persistence/writer/SaveSettingsFunctor.hpp>
#include <settingscore/persistence/writer/ValueWriter.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/roots/SettingsRootDirQuerier.hpp>
#include <settingscore/tree/LoadAndSave.hpp>
#include <settingscore/value/AnyBridge.hpp>

namespace settings::core::detail {

namespace {

ustring directoryOf(SettingsLevel const& level, TreeRoot const& tree) {
    auto const* const root = dynamic_cast<SettingsImplRoot const*>(&tree);
    if (!root) return {};
    if (level.isFactoryLevel()) return root->getFactoryDir();
    if (level.isWorkgroupLevel()) return root->getWrkgrpDir();
    if (level.isUserLevel()) return root->getUserDir();
    return {};
}

void load(SettingsImpl* product, ustring& errors) { product->loadSettingsOnce(errors); }

void callSaver(SettingsImpl::SaveFunc const& saver, SettingsLevel const& level,
               boost::shared_ptr<SettingsImpl> const& node, SharedTreeLock const& lock) {
    saver(&level, node, SaveSettingsFunctor(lock.get()));
}

void deleteFile(SettingsLevel const& level, std::string const& product) {
    SettingsFile::deleteSettingsFile(&level, product);
}

ValueWriterFcn writerFor(boost::any const& first) {
    ValueWritterSetter visitor;
    return settingscore::boostany::applyVisitor(visitor, first, true);
}

bool connect() {
    LoadAndSave::setFiles(
        {&load, &SettingsFile::saveSettings, &callSaver, &deleteFile, &writerFor});
    SettingsFile::setDirectoryFunc(&directoryOf);
    setRootPathQueries(&SettingsRootDirQuerier::UserRoot, &SettingsRootDirQuerier::FactoryRoot);
    return true;
}

}  // namespace

void connectLayers() {
    static bool const connected = connect();
    static_cast<void>(connected);
}

namespace {

struct AtLoad {
    AtLoad() { connectLayers(); }
};
// The early priority makes the library ready for other static initialisers of a program.
__attribute__((init_priority(101))) AtLoad const atLoad;

}  // namespace

}  // namespace settings::core::detail

/// What a program that links the library statically asks for, so that this file comes along.
extern "C" void settingscore_connect_layers() { settings::core::detail::connectLayers(); }
