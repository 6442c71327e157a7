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

    XMLMetaData(ElementAttributes const&, boost::shared_ptr<XMLNode> const& parent)
        : XMLNode(parent) {}

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

    void closeTag() const override {
        auto const node = getSettings();
        if (node && !(minValue_.empty() && maxValue_.empty() && !choices_)) {
            detail::NodeBuilder(*node).setMetaData(
                SettingsKeyMetaData<boost::any>(minValue_, maxValue_, choices_));
        }
    }

    HandlerMap const& getHandlerMap() const override {
        static auto const& handlers = *new HandlerMap{{"min", &create<XMLMetaDataMin<T>>},
                                                      {"max", &create<XMLMetaDataMax<T>>},
                                                      {"choices", &create<XMLMetaDataChoice<T>>}};
        return handlers;
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
