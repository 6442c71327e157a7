#pragma once

// Templates of Settings; included by Settings.hpp alone.

#include <stdexcept>
#include <type_traits>

#include <settingscore/tree/NameToObjectTransformer.hpp>

namespace settings::core {

template <class T>
std::unique_ptr<corebus::msg_svc::eventmgr::Connection> Settings::addListener(
    boost::function<void(T const&)> const& listener) const {
    if (listener.empty()) throw std::invalid_argument("addListener: the listener is empty.");
    return addListenerImpl(
        [&listener](corebus::msg_svc::eventmgr::EventMgr& manager,
                    std::vector<ustring> const& tags) {
            return manager.subscribe<T>(listener, tags.begin(), tags.end());
        },
        T::publishedTypeTags());
}

template <class T>
ustring Settings::getEventStrForType() const {
    return getFilterTagStrings({T::typeTag()}).front();
}

template <class T>
std::vector<ustring> Settings::getFilterTagStrings() const {
    return {getEventStrForType<T>()};
}

template <class Range>
std::vector<Settings::NodeValue> Settings::toNodeValues(Range const& range, bool throwIfMissing,
                                                        BatchErrors& errors) const {
    using First = std::remove_cv_t<std::remove_reference_t<decltype(std::begin(range)->first)>>;
    using Pair =
        std::conditional_t<std::is_convertible_v<First, std::string>, NameValue, NodeValue>;
    detail::NameToObjectTransformer<Pair> const transform(throwIfMissing, self(), &errors);
    std::vector<NodeValue> elements;
    for (auto const& entry : range)
        elements.push_back(transform(Pair(entry.first, entry.second)));
    return elements;
}

template <class Range>
BatchErrors Settings::setRange(Range const& range, std::string const& level, bool rethrow) {
    BatchErrors errors;
    std::vector<NodeValue> elements = toNodeValues(range, rethrow, errors);
    BatchErrors const refused =
        multipleSetImpl(elements.data(), elements.data() + elements.size(), level, rethrow);
    errors.insert(errors.end(), refused.begin(), refused.end());
    return errors;
}

template <class Range>
BatchErrors Settings::validateRange(Range const& range, bool rethrow) const {
    BatchErrors errors;
    std::vector<NodeValue> elements = toNodeValues(range, rethrow, errors);
    BatchErrors const refused =
        multipleValidateImpl(elements.data(), elements.data() + elements.size(), rethrow);
    errors.insert(errors.end(), refused.begin(), refused.end());
    return errors;
}

template <class Range>
BatchErrors Settings::setMultiple(Range const& range, std::string const& level) {
    return setRange(range, level, false);
}

template <class Range>
BatchErrors Settings::setMultipleOrThrow(Range const& range, std::string const& level) {
    return setRange(range, level, true);
}

template <class Range>
BatchErrors Settings::validateMultiple(Range const& range) const {
    return validateRange(range, false);
}

template <class Range>
BatchErrors Settings::validateMultipleOrThrow(Range const& range) const {
    return validateRange(range, true);
}

}  // namespace settings::core
