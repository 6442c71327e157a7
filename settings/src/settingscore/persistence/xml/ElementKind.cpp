#include <settingscore/persistence/xml/ElementKind.hpp>

#include <array>
#include <cstddef>

#include <settingscore/value/ValueTraits.hpp>

namespace settings::core {

namespace {

struct Row {
    std::string_view name;
    ElementKind kind = ElementKind::unknown;
};

constexpr ElementKind ofType(unsigned long index) {
    return static_cast<ElementKind>(static_cast<unsigned long>(ElementKind::typeElement) + index);
}

#define SETTINGSCORE_ROW(type, index, name, wide, word) {name, ofType(index)},
constexpr Row rows[] = {{"settings", ElementKind::settings},
                        {"key", ElementKind::key},
                        {"additionalpath", ElementKind::additionalpath},
                        {"validationfunc", ElementKind::validationfunc},
                        {"runtimedefault", ElementKind::runtimedefault},
                        {"metadata", ElementKind::metadata},
                        {"value", ElementKind::value},
                        {"min", ElementKind::min},
                        {"max", ElementKind::max},
                        {"choices", ElementKind::choices},
                        SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ROW)};
#undef SETTINGSCORE_ROW

constexpr std::size_t placeCount = 128;

/// The ends of the names tell them apart, which `placesOfNames` proves.
constexpr std::size_t placeOf(std::string_view name) {
    return (static_cast<unsigned char>(name.front()) * 5u +
            static_cast<unsigned char>(name.back())) %
           placeCount;
}

struct Places {
    std::array<Row, placeCount> at{};
    bool areTheirOwn = true;
};

constexpr Places placesOfNames() {
    Places places;
    for (Row const& row : rows) {
        Row& place = places.at[placeOf(row.name)];
        places.areTheirOwn = places.areTheirOwn && place.name.empty();
        place = row;
    }
    return places;
}

constexpr Places places = placesOfNames();
static_assert(places.areTheirOwn, "a new name needs another placeOf");

}  // namespace

ElementKind elementKind(std::string_view name) {
    if (name.empty()) return ElementKind::unknown;
    Row const& row = places.at[placeOf(name)];
    return row.name == name ? row.kind : ElementKind::unknown;
}

}  // namespace settings::core
