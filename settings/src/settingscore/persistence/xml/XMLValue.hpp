#pragma once

#include <type_traits>

#include <settingscore/persistence/xml/ValueConverter.hpp>
#include <settingscore/persistence/xml/XMLLeafNode.hpp>

namespace settings::core {

template <class T>
class XMLValueType;

/// One value. The pieces of a string's text add up; of a number's the last one counts. An empty
/// element is zero or the empty string.
template <class T>
class XMLValue : public XMLLeafNode {
public:
    XMLValue(ElementAttributes const&, XMLNode* parent) : XMLLeafNode(parent) {}

    void parseText(ustring const& text) override {
        if constexpr (std::is_same_v<T, ustring>) {
            value_ += text;
        } else {
            value_ = ValueConverter<T>(text).input();
        }
    }
    std::string getTagName() const override { return "value"; }
    void closeTag() override { parentAs<XMLValueType<T>>().updateValues(value_); }

private:
    T value_{};
};

}  // namespace settings::core
