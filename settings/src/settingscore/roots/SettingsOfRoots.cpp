// Operations of lower layers that start from the root of an instance.

#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/roots/SettingsContext.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>

namespace settings::core {

namespace fs = qf::filesystem;

boost::shared_ptr<Settings> Settings::getSettingsRoot(ZcrID const& id) {
    return SettingsImpl::getSettingsImplRoot(id);
}

boost::shared_ptr<SettingsImplRoot> SettingsImpl::getSettingsImplRoot(ZcrID const& id) {
    return SettingsContext::getSettingsImplRootByZcrID(id);
}

boost::shared_ptr<Settings> SettingsImpl::reset() { return SettingsContext::reset(AnyZcrID); }

std::vector<std::string> SettingsFile::getSettingsTopLevelNodesForZcrId0Root(
    SettingsLevel const* level) {
    return getSettingsTopLevelNodes(level, SettingsImpl::getSettingsImplRoot(BlessedZcrID));
}

std::vector<fs::path> SettingsFile::getAllSettingsFileForProductForZcrId0Root(
    std::string const& product, SettingsLevel const* level) {
    return getAllSettingsFileForProduct(product, level,
                                        SettingsImpl::getSettingsImplRoot(BlessedZcrID));
}

}  // namespace settings::core
