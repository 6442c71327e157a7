#include <settingscore/tree/Sameness.hpp>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include <boost/variant/apply_visitor.hpp>
#include <settingscore/value/AnyBridge.hpp>

namespace settings::core::detail {

namespace {

template <class T>
auto bitsOf(T number) {
    std::conditional_t<sizeof(T) == sizeof(std::uint32_t), std::uint32_t, std::uint64_t> bits = 0;
    static_assert(sizeof bits == sizeof number);
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
}

class SameBits {
public:
    using result_type = bool;
    explicit SameBits(boost::any const& other) : other_(other) {}

    bool operator()() const { return other_.empty(); }
    template <class T>
    bool operator()(T const& value) const {
        auto const* const other = boost::any_cast<T>(&other_);
        return other && isSame(value, *other);
    }

private:
    template <class T>
    static bool isSame(T const& a, T const& b) {
        if constexpr (std::is_floating_point_v<T>) {
            return bitsOf(a) == bitsOf(b);
        } else {
            return a == b;
        }
    }
    template <class T>
    static bool isSame(std::vector<T> const& a, std::vector<T> const& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                          [](T const& x, T const& y) { return isSame(x, y); });
    }
    boost::any const& other_;
};

struct Name {
    using result_type = std::string;
    std::string operator()(boost::mpl::void_ const&) const { return {}; }
    template <class Function>
    std::string operator()(Function const& function) const {
        return function.getPackageName() + '\n' + function.getFunctionName();
    }
};

}  // namespace

bool sameValue(boost::any const& a, boost::any const& b) {
    SameBits const visitor(b);
    return settingscore::boostany::applyVisitor(visitor, a, true);
}

bool sameFunction(RunTimeDefault const& a, RunTimeDefault const& b) {
    return a.which() == b.which() &&
           boost::apply_visitor(Name(), a) == boost::apply_visitor(Name(), b);
}

}  // namespace settings::core::detail
