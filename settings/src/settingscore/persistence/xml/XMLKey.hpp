#pragma once

#include <boost/any.hpp>
#include <settingscore/persistence/xml/XMLNode.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

/// A key: its rules, and the values of its type element.
class XMLKey : public XMLNode {
public:
    XMLKey(ElementAttributes const& attributes, boost::shared_ptr<XMLNode> const& parent);

    boost::shared_ptr<SettingsImpl> getSettings() const override { return settings_; }
    std::string getTagName() const override { return "key"; }
    /// Stores the value on the level "user", whichever file it is from, and links the key.
    void closeTag() const override;
    HandlerMap const& getHandlerMap() const override;

    void setKeyValueWriter(SettingsImpl::ValueWriterFcn writer) { keyValueWriter_ = writer; }
    void setKeyValue(boost::any const& value) { keyValue_ = value; }
    bool canBeAnyType() const { return canBeAnyType_; }

private:
    boost::shared_ptr<SettingsImpl> settings_;
    boost::any keyValue_;
    SettingsImpl::ValueWriterFcn keyValueWriter_ = nullptr;
    bool canBeAnyType_;
};

}  // namespace settings::core
