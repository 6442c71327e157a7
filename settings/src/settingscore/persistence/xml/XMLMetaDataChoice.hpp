#pragma once

#include <settingscore/persistence/xml/ValueConverter.hpp>
#include <settingscore/persistence/xml/XMLLeafNode.hpp>

namespace settings::core {

template <class T>
class XMLMetaData;

/// One of a key's choices. Of a text in several pieces the last one counts.
template <class T>
class XMLMetaDataChoice : public XMLLeafNode {
public:
    XMLMetaDataChoice(ElementAttributes const&, XMLNode* parent) : XMLLeafNode(parent) {}

    void parseText(ustring const& text) override { value_ = ValueConverter<T>(text).input(); }
    std::string getTagName() const override { return "choices"; }
    void closeTag() override { parentAs<XMLMetaData<T>>().appendChoices(value_); }

private:
    T value_{};
};

}  // namespace settings::core
