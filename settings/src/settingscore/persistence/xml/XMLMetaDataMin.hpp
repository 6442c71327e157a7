#pragma once

#include <type_traits>

#include <settingscore/persistence/xml/ValueConverter.hpp>
#include <settingscore/persistence/xml/XMLLeafNode.hpp>

namespace settings::core {

template <class T>
class XMLMetaData;

/// The least value of a range; for a string the least length.
template <class T>
class XMLMetaDataMin : public XMLLeafNode {
public:
    using Bound = std::conditional_t<std::is_same_v<T, ustring>, unsigned int, T>;

    XMLMetaDataMin(ElementAttributes const&, XMLNode* parent) : XMLLeafNode(parent) {}

    void parseText(ustring const& text) override { value_ = ValueConverter<Bound>(text).input(); }
    std::string getTagName() const override { return "min"; }
    void closeTag() override { parentAs<XMLMetaData<T>>().updateMinValue(value_); }

private:
    Bound value_{};
};

}  // namespace settings::core
