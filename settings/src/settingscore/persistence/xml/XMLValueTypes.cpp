#include <settingscore/persistence/xml/XMLValueTypes.hpp>

#include <settingscore/persistence/xml/XMLValueType.hpp>
#include <settingscore/value/ValueTraits.hpp>

namespace settings::core {

namespace {

template <class T>
boost::shared_ptr<XMLNode> createValueType(ElementAttributes const& attributes,
                                           boost::shared_ptr<XMLNode> const& parent) {
    return boost::make_shared<XMLValueType<T>>(attributes, parent);
}

}  // namespace

XMLNode::HandlerMap valueTypeHandlers() {
    XMLNode::HandlerMap handlers;
    settingscore::boostany::forEachElementType([&](auto wrapper) {
        using T = typename decltype(wrapper)::Type;
        handlers.emplace(settingscore::boostany::ValueTraits<T>::name, &createValueType<T>);
    });
    return handlers;
}

}  // namespace settings::core
