#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <boost/any.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/persistence/writer/ValueWriter.hpp>
#include <settingscore/persistence/xml/XMLKey.hpp>
#include <settingscore/persistence/xml/XMLMetaData.hpp>
#include <settingscore/persistence/xml/XMLRuntimeDefault.hpp>
#include <settingscore/persistence/xml/XMLValue.hpp>
#include <settingscore/rules/ValueType.hpp>
#include <settingscore/value/NumberText.hpp>
#include <settingscore/value/ValueTraits.hpp>

namespace settings::core {

/// The type element of a key, such as "double": fixes the key's type and sizes at once, and
/// collects its values.
template <class T>
class XMLValueType : public XMLNode {
public:
    /// @throws boost::bad_lexical_cast for sizes that are no numbers; the schema supplies absent
    ///         ones
    XMLValueType(ElementAttributes const& attributes, XMLNode* parent)
        : XMLNode(parent),
          minArraySize_(arraySize(attributes.view(AttributeKind::minArraySize))),
          maxArraySize_(arraySize(attributes.view(AttributeKind::maxArraySize))),
          undefined_(attributes.isTrue(AttributeKind::undef)) {
        boost::shared_ptr<SettingsImpl> const& node = getSettings();
        node->setDataTypeIndexInternal(parentAs<XMLKey>().canBeAnyType()
                                           ? SettingsImpl::anyTypeIndex
                                           : settingscore::boostany::ValueTraits<T>::index);
        node->setValueArraySizeValidator(
            ValueArraySizeValidator(node, maxArraySize_, minArraySize_));
        bool const scalar = minArraySize_ == 1 && maxArraySize_ == 1;
        node->setValidateValueTypeFunc(scalar ? &validateValueType<T>
                                              : &validateValueType<std::vector<T>>);
    }

    static XMLNode* createType(Room& room, ElementAttributes const& attributes, XMLNode* parent) {
        return create<XMLValueType>(room, attributes, parent);
    }

    std::string getTagName() const override { return settingscore::boostany::ValueTraits<T>::name; }
    void updateValues(T& value) {
        ++count_;
        if (maxArraySize_ != 1) {
            values_.push_back(std::move(value));
        } else if (count_ == 1) {
            single_ = std::move(value);
        }
    }

    void closeTag() override {
        auto& key = parentAs<XMLKey>();
        key.setKeyValueWriter(&writeValues<T>);
        if (undefined_) return;
        if (count_ == 0) {
            if (minArraySize_ == 0 && maxArraySize_ == 0) key.setKeyValue(std::vector<T>());
            return;
        }
        bool const bounded = maxArraySize_ != 0;
        if (count_ < minArraySize_ || (bounded && count_ > maxArraySize_)) {
            ZENBAR::settings::core::throwMessage<
                ZENBAR::settings::core::XMLParserErrorNumOfValueNotInRange>(
                fullName(), getTagName(), std::to_string(count_), std::to_string(minArraySize_),
                bounded ? std::to_string(maxArraySize_) : std::string("unbounded"));
        }
        if (maxArraySize_ == 1) {
            key.setKeyValue(std::move(single_));
        } else {
            key.setKeyValue(std::move(values_));
        }
    }

    Creator creatorOf(ElementKind kind) const override {
        switch (kind) {
            case ElementKind::value:
                return &create<XMLValue<T>>;
            case ElementKind::runtimedefault:
                return &create<XMLRuntimeDefault<T>>;
            case ElementKind::metadata:
                return &create<XMLMetaData<T>>;
            default:
                return nullptr;
        }
    }

private:
    static std::uint64_t arraySize(std::string_view text) {
        if (text == "1") return 1;  // Nearly always.
        return settingscore::boostany::lexicalParse<unsigned long long>(text);
    }

    std::uint64_t const minArraySize_;
    std::uint64_t const maxArraySize_;
    bool const undefined_;
    std::uint64_t count_ = 0;
    /// The first value of a scalar, or all of an array.
    T single_{};
    std::vector<T> values_;
};

}  // namespace settings::core
