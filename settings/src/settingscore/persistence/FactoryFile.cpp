#include <settingscore/persistence/FactoryFile.hpp>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/persistence/writer/SaveWalk.hpp>

namespace settings::core::detail {

void FactoryFile::write(ustring const& path, unsigned int version) const {
    if (!qf::filesystem::detail::is_absolute(path)) {
        throw exception::ErrorExportOrImportSettingsUsingRelativePath(path);
    }
    qf::filesystem::basic_ofstream stream(path);
    if (!stream) throw exception::ErrorSaveSettingsDueToFileIOError(node_, path);
    auto const top = boost::const_pointer_cast<SettingsImpl>(node_->getTopLevelNode());
    top->setVersionNumber(version);
    {
        SharedTreeLock const lock;
        SaveWalk walk(stream);
        unsigned long const depth = top->getNodeDepth(lock);
        top->saveSelf(lock, walk, depth, std::string());
        top->writeParentCloseTag(lock, walk, depth);
    }
    stream.close();
}

}  // namespace settings::core::detail
