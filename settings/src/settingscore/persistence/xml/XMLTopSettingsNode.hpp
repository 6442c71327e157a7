#pragma once

#include <vector>

#include <settingscore/host/Filesystem.hpp>
#include <settingscore/persistence/xml/XMLSettings.hpp>

namespace settings::core {

/// The root element: a group that can also name further files to read.
class XMLTopSettingsNode : public XMLSettings {
public:
    using XMLSettings::XMLSettings;

    HandlerMap const& getHandlerMap() const override;
    void appendAdditionalPath(qf::filesystem::path const& path) {
        additionalPaths_.push_back(path);
    }
    std::vector<qf::filesystem::path> const& getAdditionalPath() const { return additionalPaths_; }

    static boost::shared_ptr<XMLNode> createTop(ElementAttributes const& attributes,
                                                boost::shared_ptr<XMLNode> const& parent) {
        return create<XMLTopSettingsNode>(attributes, parent);
    }

private:
    std::vector<qf::filesystem::path> additionalPaths_;
};

}  // namespace settings::core
