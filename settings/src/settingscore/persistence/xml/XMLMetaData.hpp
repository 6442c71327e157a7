#pragma once

#include <string>
#include <vector>

#include <boost/any.hpp>
#include <boost/optional.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/persistence/xml/XMLMetaDataChoice.hpp>
#include <settingscore/persistence/xml/XMLMetaDataMax.hpp>
#include <settingscore/persistence/xml/XMLMetaDataMin.hpp>
#include <settingscore/persistence/xml/XMLNode.hpp>
#include <settingscore/tree/NodeBuilder.hpp>
#include <settingscore/value/NumberText.hpp>

namespace settings::core {

/// Range and choices of a key. Those of a string's range are bounds on its length.
template <class T>
class XMLMetaData : public XMLNode {
public:
    using Bound = typename SettingsKeyMetaData<T>::Bound;

    XMLMetaData(ElementAttributes const&, XMLNode* parent) : XMLNode(parent) {}

    std::string getTagName() const override { return "metadata"; }

    /// Both throw XMLMetaDataParserError if the minimum would exceed the maximum.
    void updateMinValue(Bound const& value) {
        if (!maxValue_.empty()) checkOrder(value, boost::any_cast<Bound const&>(maxValue_));
        minValue_ = value;
    }
    void updateMaxValue(Bound const& value) {
        if (!minValue_.empty()) checkOrder(boost::any_cast<Bound const&>(minValue_), value);
        maxValue_ = value;
    }
    void appendChoices(T const& value) {
        if (!choices_) choices_ = std::vector<boost::any>();
        choices_->push_back(value);
    }

    void closeTag() override {
        if (!(minValue_.empty() && maxValue_.empty() && !choices_)) {
            detail::NodeBuilder(*getSettings())
                .setMetaData(SettingsKeyMetaData<boost::any>(minValue_, maxValue_, choices_));
        }
    }

    Creator creatorOf(ElementKind kind) const override {
        switch (kind) {
            case ElementKind::min:
                return &create<XMLMetaDataMin<T>>;
            case ElementKind::max:
                return &create<XMLMetaDataMax<T>>;
            case ElementKind::choices:
                return &create<XMLMetaDataChoice<T>>;
            default:
                return nullptr;
        }
    }

private:
    void checkOrder(Bound const& minimum, Bound const& maximum) const {
        if (!(minimum > maximum)) return;
        ZENBAR::settings::core::throwMessage<ZENBAR::settings::core::XMLMetaDataParserError>(
            fullName(), settingscore::boostany::lexicalText(minimum),
            settingscore::boostany::lexicalText(maximum));
    }
    boost::any minValue_;
    boost::any maxValue_;
    boost::optional<std::vector<boost::any>> choices_;
};

}  // namespace settings::core
