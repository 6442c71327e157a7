#pragma once

#include <settingscore/persistence/xml/XMLNode.hpp>

namespace settings::core {

/// A group. The reader links it under its parent when it ends.
class XMLSettings : public XMLNode {
public:
    XMLSettings(ElementAttributes const& attributes, XMLNode* parent);

    boost::shared_ptr<SettingsImpl> const& getSettings() const override { return settings_; }
    std::string getTagName() const override { return "settings"; }
    void closeTag() override;
    Creator creatorOf(ElementKind kind) const override;

private:
    boost::shared_ptr<SettingsImpl> settings_;
};

}  // namespace settings::core
