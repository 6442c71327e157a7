#include <settingscore/value/AnyBridge.hpp>

#include <array>
#include <cstdint>
#include <iterator>

namespace settingscore::boostany {
namespace {

#define SETTINGSCORE_SCALAR(type, place, text, wide, word) , &typeid(type)
#define SETTINGSCORE_ARRAY(type, place, text, wide, word) , &typeid(std::vector<type>)
std::type_info const* const typesByIndex[] = {&typeid(void) SETTINGSCORE_ELEMENT_TYPES(
    SETTINGSCORE_SCALAR) SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ARRAY)};
#undef SETTINGSCORE_SCALAR
#undef SETTINGSCORE_ARRAY
static_assert(std::size(typesByIndex) == supportedTypeCount);

/// The indices of the types by where their descriptors lie, so that most are found at once.
class TypesByAddress {
public:
    TypesByAddress() {
        for (unsigned long index = 0; index < supportedTypeCount; ++index) {
            std::size_t slot = slotOf(typesByIndex[index]);
            while (slots_[slot].type)
                slot = (slot + 1) % slotCount;
            slots_[slot] = {typesByIndex[index], index};
        }
    }
    /// `supportedTypeCount` if none lies there.
    unsigned long find(std::type_info const* type) const {
        for (std::size_t slot = slotOf(type); slots_[slot].type; slot = (slot + 1) % slotCount) {
            if (slots_[slot].type == type) return slots_[slot].index;
        }
        return supportedTypeCount;
    }

private:
    struct Slot {
        std::type_info const* type = nullptr;
        unsigned long index = 0;
    };
    static constexpr std::size_t slotCount = 128;
    static std::size_t slotOf(std::type_info const* type) {
        return reinterpret_cast<std::uintptr_t>(type) / alignof(std::type_info) % slotCount;
    }
    std::array<Slot, slotCount> slots_;
};

/// Compares what it is given with a value of the same type.
struct EqualTo {
    using result_type = bool;
    boost::any const& other;

    bool operator()() const { return true; }
    template <class T>
    bool operator()(T const& value) const {
        return value == *boost::any_cast<T>(&other);
    }
};

struct VariantToAny : boost::static_visitor<boost::any> {
    boost::any operator()(mpl_::void_) const { return boost::any(); }
    template <class T>
    boost::any operator()(T const& value) const {
        return boost::any(value);
    }
};

}  // namespace

char const* UnsupportedAnyType::what() const noexcept {
    return "The type contained within the boost::any is not listed in "
           "settingscore::boostany::SupportedTypes.";
}

void detail::assertIfTypeNotExported(std::type_info const&) {}

unsigned long detail::typeIndexOf(std::type_info const& type) noexcept {
    // A type has one descriptor per library at most, and mostly one in the process: the address
    // finds it without a look at its name.
    static TypesByAddress const known;  // Has nothing to destroy.
    unsigned long const found = known.find(&type);
    if (found != supportedTypeCount) return found;
    for (unsigned long index = 0; index < supportedTypeCount; ++index) {
        if (*typesByIndex[index] == type) return index;
    }
    return supportedTypeCount;
}

bool isSupported(boost::any const& value) {
    return detail::typeIndexOf(value.type()) != supportedTypeCount;
}

bool isEqual(boost::any const& a, boost::any const& b) {
    if (&a == &b) return true;
    detail::assertIfTypeNotExported(a.type());
    if (&a.type() != &b.type()) {
        unsigned long const index = detail::typeIndexOf(a.type());
        if (index == supportedTypeCount) throw UnsupportedAnyType(a.type());
        if (index != detail::typeIndexOf(b.type())) return false;
    }
    EqualTo const equal{b};
    return applyVisitor(equal, a, false);
}

namespace detail {

SupportedVariant CreateVariant::operator()() const { return SupportedVariant(); }
template <class T>
SupportedVariant CreateVariant::operator()(T const& value) const {
    return SupportedVariant(value);
}

#define SETTINGSCORE_ROW(type, place, text, wide, word)                     \
    template SupportedVariant CreateVariant::operator()(type const&) const; \
    template SupportedVariant CreateVariant::operator()(std::vector<type> const&) const;
SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ROW)
#undef SETTINGSCORE_ROW

}  // namespace detail

SupportedVariant convertAnyToVariant(boost::any const& value) {
    detail::CreateVariant creator;
    return applyVisitor(creator, value, true);
}

boost::any convertVariantToAny(SupportedVariant const& value) {
    return boost::apply_visitor(VariantToAny(), value);
}

}  // namespace settingscore::boostany
