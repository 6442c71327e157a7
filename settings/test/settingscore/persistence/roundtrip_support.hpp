#pragma once

#include <sstream>
#include <string>

#include <boost/any.hpp>
#include <boost/make_shared.hpp>
#include <settingscore/persistence/writer/SaveSettingsFunctor.hpp>
#include <settingscore/persistence/xml/SettingsXMLReader.hpp>
#include <settingscore/tree/SettingsImpl.hpp>
#include <support/TempFolder.hpp>

/// Between texts of settings files and standalone trees.
namespace qbtest {

using settings::core::SettingsImpl;
using NodePtr = boost::shared_ptr<SettingsImpl>;

/// The text that a save of the node at the level gives.
inline std::string saved(NodePtr const& node, std::string const& level) {
    std::ostringstream stream;
    boost::shared_lock<boost::shared_mutex> const lock(SettingsImpl::mutexToRoot());
    settings::core::SaveSettingsFunctor const save(lock);
    save(node, stream, level);
    return stream.str();
}

inline NodePtr group(std::string const& name, NodePtr const& parent = {}) {
    auto const node = boost::make_shared<SettingsImpl>(name, false, boost::optional<bool>(true));
    node->setParentInternal(parent);
    return node;
}

/// A key that takes its rules from its first value.
inline NodePtr key(std::string const& name, NodePtr const& parent) {
    auto const node = boost::make_shared<SettingsImpl>(name, true, boost::optional<bool>(true));
    node->setParentInternal(parent);
    return node;
}

/// The text of a file of one product "p" with a body.
inline std::string fileText(std::string const& body, std::string const& attributes = {}) {
    using settings::core::Settings;
    return Settings::settingsXMLFileHeader + "\n<settings name=\"p\"" + attributes + " " +
           Settings::settingsSchemaInfo + ">\n" + body + "</settings>\n";
}

/// Parses texts as files.
class ParseFolder {
public:
    NodePtr parse(std::string const& text) const { return parseFile(write("p.settings", text)); }
    std::filesystem::path write(std::string const& name, std::string const& text) const {
        return writeFile(folder_.path() / name, text);
    }
    static NodePtr parseFile(std::filesystem::path const& path) {
        return settings::core::SettingsXMLReader::getParsedSettings(toUString(path));
    }
    std::filesystem::path const& path() const { return folder_.path(); }

private:
    TempFolder folder_;
};

/// The value of the key at a dotted path.
inline boost::any valueAt(NodePtr const& top, std::string const& path,
                          std::string const& level = "user") {
    auto const node = boost::dynamic_pointer_cast<SettingsImpl>(top->getSettingsByFullName(path));
    if (!node) throw std::runtime_error("no node " + path);
    return node->getAnyValueInternal(level, false);
}

}  // namespace qbtest
