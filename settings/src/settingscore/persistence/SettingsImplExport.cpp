// What the operations that write a file of the caller's choice, or read one, hand over.

#include <stdexcept>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/persistence/FactoryFile.hpp>
#include <settingscore/persistence/SettingsExport.hpp>
#include <settingscore/persistence/xml/SettingsXMLReader.hpp>

namespace settings::core {

void SettingsImpl::exportSettingsImpl(std::vector<boost::shared_ptr<Settings const>> const& nodes,
                                      ustring const& path, std::string const& levelName) {
    detail::SettingsExport(nodes).write(path, levelName);
}

void SettingsImpl::exportPreCheck(detail::HeldLock const& lock, ustring const& path) const {
    detail::SettingsExport::check(*this, lock, path);
}

void SettingsImpl::createSettingsFileImpl(boost::shared_ptr<SettingsImpl const> const& node,
                                          ustring const& path, unsigned int version) {
    detail::FactoryFile(node).write(path, version);
}

boost::shared_ptr<Settings> Settings::importAsStandaloneObject(ustring const& path) {
    if (!qf::filesystem::detail::is_absolute(path)) {
        throw exception::ErrorExportOrImportSettingsUsingRelativePath(path);
    }
    return SettingsXMLReader::getParsedSettings(path);
}

void Settings::exportSettings(std::vector<boost::shared_ptr<Settings const>> const& nodes,
                              ustring const& path, std::string const& levelName) {
    SettingsImpl::exportSettingsImpl(nodes, path, levelName);
}

void Settings::createFactorySettingsFile(boost::shared_ptr<Settings const> const& node,
                                         ustring const& path, unsigned int version) {
    auto const impl = boost::dynamic_pointer_cast<SettingsImpl const>(node);
    if (!impl) throw std::invalid_argument("createFactorySettingsFile: the node is empty.");
    if (impl->isConnectedToTheSettingsTree()) {
        throw exception::ErrorCreateFactoryFileFromATreeNode(node);
    }
    SettingsImpl::createSettingsFileImpl(impl, path, version);
}

}  // namespace settings::core
