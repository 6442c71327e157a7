#include <settingscore/rules/ValueType.hpp>

#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/value/AnyBridge.hpp>
#include <settingscore/value/Get.hpp>

namespace settings::core {

namespace {

template <class T>
std::string expectedName(T const*) {
    return settingscore::boostany::ValueTraits<T>::name;
}

// The element type of an array is not named: the words stand for every array.
template <class T>
std::string expectedName(std::vector<T> const*) {
    return "array of unsupported";
}

/// Whatever keeps the value from being read as a T means the same here: it is of another type.
template <class T>
bool convert(boost::any& value) {
    try {
        boost::any converted = settingscore::boostany::get<T>(value, false);
        value.swap(converted);
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace

template <class T>
void validateValueType(boost::any& value) {
    if (value.type() == typeid(T) || convert<T>(value)) return;
    std::string actual;
    TypeNameVisitor namer(actual);
    settingscore::boostany::applyVisitor(namer, value, true);
    ZENBAR::settings::core::throwMessage<ZENBAR::settings::core::DataTypeNotMatch>(
        expectedName(static_cast<T const*>(nullptr)), actual);
}

template <>
void validateValueType<void>(boost::any&) {}
template <>
void validateValueType<boost::any>(boost::any&) {}

#define SETTINGSCORE_ROW(type, place, text, wide, word) \
    template void validateValueType<type>(boost::any&); \
    template void validateValueType<std::vector<type>>(boost::any&);
SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ROW)
#undef SETTINGSCORE_ROW

}  // namespace settings::core
