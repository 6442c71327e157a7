#include <settingscore/value/Get.hpp>

#include <exception>

#include <settingscore/value/AnyBridge.hpp>
#include <settingscore/value/ConvertVector.hpp>

namespace settingscore::boostany {
namespace {

template <class T, class Held>
T read(boost::any const& value, bool allowConversion) {
    T result{};
    ConvertVector::copy(*boost::any_cast<Held>(&value), result, allowConversion);
    return result;
}

}  // namespace

template <class T>
std::enable_if_t<isValueType<T>, T> get(boost::any const& value, bool allowConversion) {
    if (T const* exact = boost::any_cast<T>(&value)) return *exact;
    detail::assertIfTypeNotExported(value.type());
    if (value.empty()) throw std::exception();
    // A plain switch, since a visitor for each T would make this the slowest file to compile.
    switch (detail::typeIndexOf(value.type())) {
#define SETTINGSCORE_ROW(type, place, text, wide, word) \
    case ValueTraits<type>::index:                      \
        return read<T, type>(value, allowConversion);   \
    case ValueTraits<type>::vectorIndex:                \
        return read<T, std::vector<type>>(value, allowConversion);
        SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ROW)
#undef SETTINGSCORE_ROW
        default:
            throw UnsupportedAnyType(value.type());
    }
}

#define SETTINGSCORE_ROW(type, place, text, wide, word) \
    template type get<type>(boost::any const&, bool);   \
    template std::vector<type> get<std::vector<type>>(boost::any const&, bool);
SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ROW)
#undef SETTINGSCORE_ROW

}  // namespace settingscore::boostany
