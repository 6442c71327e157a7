#include <settingscore/persistence/xml/plain/PlainSchema.hpp>

#include <settingscore/value/ValueTraits.hpp>

namespace settings::core::plain {

namespace {

using Kind = ElementKind;
using Attribute = AttributeKind;

template <class... Kinds>
constexpr std::uint32_t bitsOf(Kinds... kinds) {
    return (bitOf(kinds) | ...);
}

constexpr std::uint32_t typeElements() {
    unsigned const first = static_cast<unsigned>(Kind::typeElement) + 1;
    return ((std::uint32_t(1) << settingscore::boostany::elementTypeCount) - 1) << first;
}

constexpr ElementRule settingsRule{
    bitsOf(Kind::validationfunc, Kind::key, Kind::settings, Kind::additionalpath), false,
    bitsOf(Attribute::name, Attribute::visible, Attribute::version, Attribute::readonly), 0};

constexpr ElementRule keyRule{
    bitsOf(Kind::validationfunc, Kind::key) | typeElements(), false,
    bitsOf(Attribute::name, Attribute::visible, Attribute::readonly, Attribute::anytype), 0};

constexpr ElementRule typeRule{
    bitsOf(Kind::value, Kind::runtimedefault, Kind::metadata), false,
    bitsOf(Attribute::minArraySize, Attribute::maxArraySize, Attribute::undef),
    bitsOf(Attribute::minArraySize, Attribute::maxArraySize)};

constexpr ElementRule metadataRule{bitsOf(Kind::min, Kind::max, Kind::choices), false, 0, 0};

constexpr ElementRule functionRule{
    0, false, bitsOf(Attribute::type, Attribute::packagename, Attribute::functionname), 0};

constexpr ElementRule textRule{0, true, 0, 0};

}  // namespace

std::string_view refusedIn(AttributeKind kind) {
    switch (kind) {
        case Attribute::name:
            return "<&\"\t\n\r";
        case Attribute::packagename:
        case Attribute::functionname:
            return "<&\"'\t\n\r";
        default:
            return {};
    }
}

ElementRule const& ruleOf(ElementKind kind) {
    switch (kind) {
        case Kind::settings:
            return settingsRule;
        case Kind::key:
            return keyRule;
        case Kind::metadata:
            return metadataRule;
        case Kind::validationfunc:
        case Kind::runtimedefault:
            return functionRule;
        case Kind::additionalpath:
        case Kind::value:
        case Kind::min:
        case Kind::max:
        case Kind::choices:
            return textRule;
        default:
            return typeRule;
    }
}

}  // namespace settings::core::plain
