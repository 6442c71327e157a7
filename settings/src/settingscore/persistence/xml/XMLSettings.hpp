#pragma once

#include <settingscore/persistence/xml/XMLNode.hpp>

namespace settings::core {

/// A group. The reader links it under its parent when it ends.
class XMLSettings : public XMLNode {
public:
    XMLSettings(ElementAttributes const& attributes, boost::shared_ptr<XMLNode> const& parent);

    boost::shared_ptr<SettingsImpl> getSettings() const override { return settings_; }
    std::string getTagName() const override { return "settings"; }
    void closeTag() const override;
    HandlerMap const& getHandlerMap() const override;

protected:
    static HandlerMap createHandlerMap();

private:
    boost::shared_ptr<SettingsImpl> settings_;
};

}  // namespace settings::core
