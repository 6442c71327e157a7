#pragma once

#include <boost/any.hpp>
#include <settingscore/persistence/xml/XMLNode.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

/// A key: its rules, and the values of its type element.
class XMLKey : public XMLNode {
public:
    XMLKey(ElementAttributes const& attributes, XMLNode* parent);

    boost::shared_ptr<SettingsImpl> const& getSettings() const override { return settings_; }
    std::string getTagName() const override { return "key"; }
    /// Stores the value on the level "user", whichever file it is from, and links the key.
    void closeTag() override;
    Creator creatorOf(ElementKind kind) const override;

    void setKeyValueWriter(SettingsImpl::ValueWriterFcn writer) { keyValueWriter_ = writer; }
    void setKeyValue(boost::any value) { keyValue_.swap(value); }
    bool canBeAnyType() const { return canBeAnyType_; }

private:
    boost::shared_ptr<SettingsImpl> settings_;
    boost::any keyValue_;
    SettingsImpl::ValueWriterFcn keyValueWriter_ = nullptr;
    bool canBeAnyType_;
};

}  // namespace settings::core
