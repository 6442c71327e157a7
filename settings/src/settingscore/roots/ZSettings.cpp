#include <settingscore/tree/ZSettings.hpp>

#include <boost/make_shared.hpp>
#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/Platform.hpp>
#include <settingscore/persistence/writer/ValueWriter.hpp>
#include <settingscore/roots/SettingsContext.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/roots/Wiring.hpp>

namespace settings::core {

bool ZSettings::createEmptySettingsFor(ZcrID const& id) {
    return SettingsContext::createContext(id);
}

void ZSettings::setSettingsFileLocation(ZcrID const& id, boost::optional<ustring> const& factory,
                                        boost::optional<ustring> const& workgroup,
                                        boost::optional<ustring> const& user) {
    SettingsContext::setSettingsDirectories(id, factory, workgroup, user);
}

boost::shared_ptr<ZSettings> ZSettings::getZSettingsRoot(ZcrID const& id) {
    return SettingsImpl::getSettingsImplRoot(id);
}

void ZSettings::validateSettingOrGroupName(std::string const& name) {
    if (!zx_array_api::zxIsValidVarName(name)) throw exception::InvalidSettingOrGroupName(name);
}

boost::shared_ptr<Settings> ZSettings::createSettingsNode(std::string const& name, bool isLeaf,
                                                          bool visible, Validator const& validator,
                                                          bool readOnly) {
    detail::connectLayers();
    return boost::make_shared<SettingsImpl>(name, isLeaf, visible, validator,
                                            boost::logic::tribool(readOnly),
                                            boost::shared_ptr<SettingsImpl>());
}

boost::shared_ptr<Settings> ZSettings::createSetting(std::string const& name, bool isLeaf,
                                                     SettingsProperties& properties) {
    auto const node = createSettingsNode(name, isLeaf, !properties.hidden, properties.validator,
                                         properties.readOnly);
    if (isLeaf && properties.anyType) {
        auto const key = node->getThisObjectImpl();
        key->setDataTypeIndexInternal(SettingsImpl::anyTypeIndex);
        key->setValueWriterFcnInternal(&writeValues<ZenbarAny>);
    }
    return node;
}

void ZSettings::eventQueue(std::queue<boost::shared_ptr<SettingsEvent const>>& queue,
                           ZcrID const& id) {
    SettingsContext::getEventQueue(queue, id);
}

boost::shared_ptr<Settings> ZSettings::reset(ZcrID const& id) { return SettingsContext::reset(id); }

ustring ZSettings::getFactoryDir(ZcrID const& id) { return SettingsContext::getFactoryDir(id); }

ustring ZSettings::getWorkgroupDir(ZcrID const& id) { return SettingsContext::getWorkgroupDir(id); }

ustring ZSettings::getUserDir(ZcrID const& id) { return SettingsContext::getUserDir(id); }

}  // namespace settings::core
