#include <settingscore/tree/Settings.hpp>

#include <stdexcept>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/tree/FileWords.hpp>
#include <settingscore/tree/SettingsEvent.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

using corebus::msg_svc::eventmgr::Connection;
using corebus::msg_svc::eventmgr::EventMgr;

// The early priority makes them ready for other static initialisers of a program.
#define SETTINGSCORE_FIRST __attribute__((init_priority(101)))
SETTINGSCORE_FIRST std::string const Settings::settingsExtension = detail::settingsExtension;
SETTINGSCORE_FIRST std::string const Settings::settingsXMLFileHeader =
    detail::settingsXMLFileHeader;
SETTINGSCORE_FIRST std::string const Settings::settingsXMLNameSpace = detail::settingsXMLNameSpace;
SETTINGSCORE_FIRST std::string const Settings::settingsSchemaInfo = detail::settingsSchemaInfo;
#undef SETTINGSCORE_FIRST

Settings::Settings() = default;
Settings::~Settings() = default;

boost::shared_mutex* Settings::getTheRootMutex() { return SettingsImpl::getImplRootMutex(); }

void Settings::setAny(std::string const& name, boost::any const& value, std::string const& level) {
    boost::shared_ptr<Settings> key = getChild(name);
    if (!key) throw exception::NoSuchKey(self(), name);
    NodeValue element(std::move(key), value);
    multipleSetImpl(&element, &element + 1, level, true);
}

void Settings::validateAny(std::string const& name, boost::any const& value) const {
    boost::shared_ptr<Settings const> const key = getChild(name);
    if (!key) throw exception::NoSuchKey(self(), name);
    NodeValue element(boost::const_pointer_cast<Settings>(key), value);
    multipleValidateImpl(&element, &element + 1, true);
}

std::unique_ptr<Connection> Settings::addListener(
    boost::function<void(SettingsEvent const&)> const& listener) const {
    if (listener.empty()) throw std::invalid_argument("addListener: the listener is empty.");
    return addListener<SettingsValueChangeEvent>(
        boost::function<void(SettingsValueChangeEvent const&)>(listener));
}

boost::shared_ptr<Settings const> Settings::self() const { return getThisObjectImpl(); }

std::unique_ptr<Connection> Settings::addListenerImpl(
    boost::function<std::unique_ptr<Connection>(EventMgr&, std::vector<ustring> const&)> const&
        subscribe,
    std::vector<ustring> const& typeTags) const {
    detail::SharedTreeLock const lock;
    if (!isConnectedToTheSettingsTree()) return nullptr;
    return subscribe(*zbutil::eventmgr::createLocalEventMgr(), getFilterTagStrings(typeTags));
}

std::vector<ustring> Settings::getFilterTagStrings(std::vector<ustring> const& typeTags) const {
    ustring const id = qf::i18n::to_ustring(getImplNodeEventId().toString());
    std::vector<ustring> tags;
    for (ustring const& typeTag : typeTags)
        tags.push_back(typeTag + id);
    return tags;
}

namespace detail {

NameToObjectTransformer<std::pair<std::string, boost::any>>::Element
NameToObjectTransformer<std::pair<std::string, boost::any>>::operator()(
    std::pair<std::string, boost::any> const& entry) const {
    if (!parent_) throw std::invalid_argument("Names are looked up below a node.");
    boost::shared_ptr<Settings> node = parent_->getSettingsByFullName(entry.first);
    if (!node) {
        if (throwIfMissing_) throw exception::InvalidNodePath(parent_, entry.first);
        if (errors_) errors_->emplace_back(entry.first, "The calling node doesn't contain");
    }
    return Element(node, entry.second);
}

}  // namespace detail

}  // namespace settings::core
