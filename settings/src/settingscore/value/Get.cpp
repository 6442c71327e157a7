#include <settingscore/value/Get.hpp>

#include <exception>

#include <settingscore/value/AnyBridge.hpp>
#include <settingscore/value/ConvertVector.hpp>

namespace settingscore::boostany {
namespace {

template <class T>
struct Reader {
    using result_type = T;
    bool allowConversion;

    T operator()() const { throw std::exception(); }
    template <class Held>
    T operator()(Held const& held) const {
        T result{};
        ConvertVector::copy(held, result, allowConversion);
        return result;
    }
};

}  // namespace

template <class T>
std::enable_if_t<isValueType<T>, T> get(boost::any const& value, bool allowConversion) {
    if (T const* exact = boost::any_cast<T>(&value)) return *exact;
    Reader<T> const reader{allowConversion};
    return applyVisitor(reader, value, true);
}

#define SETTINGSCORE_ROW(type, place, text, wide, word) \
    template type get<type>(boost::any const&, bool);   \
    template std::vector<type> get<std::vector<type>>(boost::any const&, bool);
SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ROW)
#undef SETTINGSCORE_ROW

}  // namespace settingscore::boostany
