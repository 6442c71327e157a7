#pragma once

#include <vector>

#include <settingscore/host/Filesystem.hpp>
#include <settingscore/persistence/xml/XMLSettings.hpp>

namespace settings::core {

/// The root element: a group that can also name further files to read.
class XMLTopSettingsNode : public XMLSettings {
public:
    using XMLSettings::XMLSettings;

    Creator creatorOf(ElementKind kind) const override;
    void appendAdditionalPath(qf::filesystem::path const& path) {
        additionalPaths_.push_back(path);
    }
    std::vector<qf::filesystem::path> const& getAdditionalPath() const { return additionalPaths_; }

    static XMLTopSettingsNode* createTop(Room& room, ElementAttributes const& attributes) {
        return static_cast<XMLTopSettingsNode*>(
            create<XMLTopSettingsNode>(room, attributes, nullptr));
    }

private:
    std::vector<qf::filesystem::path> additionalPaths_;
};

}  // namespace settings::core
