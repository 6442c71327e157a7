#include <settingscore/persistence/xml/plain/PlainSchema.hpp>

#include <settingscore/value/ValueTraits.hpp>

namespace settings::core::plain {

namespace {

using Kind = ElementKind;

constexpr std::uint32_t bitsOf(std::initializer_list<Kind> kinds) {
    std::uint32_t bits = 0;
    for (Kind const kind : kinds)
        bits |= bitOf(kind);
    return bits;
}

constexpr std::uint32_t typeElements() {
    unsigned const first = static_cast<unsigned>(Kind::typeElement) + 1;
    return ((std::uint32_t(1) << settingscore::boostany::elementTypeCount) - 1) << first;
}

constexpr std::string_view nodeName = "<&\"\t\n\r";
constexpr std::string_view functionName = "<&\"'\t\n\r";

constexpr ElementRule settingsRule{
    bitsOf({Kind::validationfunc, Kind::key, Kind::settings, Kind::additionalpath}),
    false,
    {{"name", nodeName, nullptr},
     {"visible", {}, nullptr},
     {"version", {}, nullptr},
     {"readonly", {}, nullptr}}};

constexpr ElementRule keyRule{bitsOf({Kind::validationfunc, Kind::key}) | typeElements(),
                              false,
                              {{"name", nodeName, nullptr},
                               {"visible", {}, nullptr},
                               {"readonly", {}, nullptr},
                               {"anytype", {}, nullptr}}};

constexpr ElementRule typeRule{
    bitsOf({Kind::value, Kind::runtimedefault, Kind::metadata}),
    false,
    {{"minArraySize", {}, "1"}, {"maxArraySize", {}, "1"}, {"undef", {}, nullptr}}};

constexpr ElementRule metadataRule{bitsOf({Kind::min, Kind::max, Kind::choices}), false, {}};

constexpr ElementRule functionRule{0,
                                   false,
                                   {{"type", {}, nullptr},
                                    {"packagename", functionName, nullptr},
                                    {"functionname", functionName, nullptr}}};

constexpr ElementRule textRule{0, true, {}};

}  // namespace

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
