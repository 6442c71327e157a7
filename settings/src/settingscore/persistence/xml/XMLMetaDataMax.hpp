#pragma once

#include <type_traits>

#include <settingscore/persistence/xml/ValueConverter.hpp>
#include <settingscore/persistence/xml/XMLLeafNode.hpp>

namespace settings::core {

template <class T>
class XMLMetaData;

/// The greatest value of a range; for a string the greatest length.
template <class T>
class XMLMetaDataMax : public XMLLeafNode {
public:
    using Bound = std::conditional_t<std::is_same_v<T, ustring>, unsigned int, T>;

    XMLMetaDataMax(ElementAttributes const&, XMLNode* parent) : XMLLeafNode(parent) {}

    void parseText(ustring const& text) override { value_ = ValueConverter<Bound>(text).input(); }
    std::string getTagName() const override { return "max"; }
    void closeTag() override { parentAs<XMLMetaData<T>>().updateMaxValue(value_); }

private:
    Bound value_{};
};

}  // namespace settings::core
