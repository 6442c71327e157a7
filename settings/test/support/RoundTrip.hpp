#pragma once

#include <sstream>

#include <settingscore/persistence/xml/SettingsXMLReader.hpp>
#include <support/BothReaders.hpp>
#include <support/ProductWorld.hpp>

/// Between texts of settings files and standalone trees.
namespace qbtest {

/// The text that a save of the node at the level gives. A good file among them is a plain one.
inline std::string saved(NodePtr const& node, std::string const& level) {
    std::ostringstream stream;
    boost::shared_lock<boost::shared_mutex> const lock(SettingsImpl::mutexToRoot());
    SaveSettingsFunctor const save(lock);
    save(node, stream, level);
    std::string const text = stream.str();
    EXPECT_EQ(readPlainly(text).isDone, readValidating(text).isDone) << text.substr(0, 1000);
    return text;
}

/// The text of a file of one product "p" with a body.
inline std::string fileText(std::string const& body, std::string const& attributes = {}) {
    return settingsXml("p", body, attributes);
}

/// Parses texts as files.
class ParseFolder {
public:
    NodePtr parse(std::string const& text) const { return parseFile(write("p.settings", text)); }
    std::filesystem::path write(std::string const& name, std::string const& text) const {
        return writeFile(folder_.path() / name, text);
    }
    static NodePtr parseFile(std::filesystem::path const& path) {
        return SettingsXMLReader::getParsedSettings(toUString(path));
    }
    std::filesystem::path const& path() const { return folder_.path(); }

private:
    TempFolder folder_;
};

}  // namespace qbtest
