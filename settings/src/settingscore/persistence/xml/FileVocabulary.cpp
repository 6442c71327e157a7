#include <settingscore/persistence/xml/FileVocabulary.hpp>

#include <array>

#include <settingscore/value/ValueTraits.hpp>

namespace settings::core {

namespace {

template <class Kind>
struct Row {
    std::string_view name;
    Kind kind = Kind::unknown;
};

constexpr ElementKind ofType(unsigned long index) {
    return static_cast<ElementKind>(static_cast<unsigned long>(ElementKind::typeElement) + index);
}

#define SETTINGSCORE_ROW(type, index, name, wide, word) {name, ofType(index)},
constexpr Row<ElementKind> elementRows[] = {{"settings", ElementKind::settings},
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

constexpr Row<AttributeKind> attributeRows[] = {{"name", AttributeKind::name},
                                                {"visible", AttributeKind::visible},
                                                {"version", AttributeKind::version},
                                                {"readonly", AttributeKind::readonly},
                                                {"anytype", AttributeKind::anytype},
                                                {"minArraySize", AttributeKind::minArraySize},
                                                {"maxArraySize", AttributeKind::maxArraySize},
                                                {"undef", AttributeKind::undef},
                                                {"type", AttributeKind::type},
                                                {"packagename", AttributeKind::packagename},
                                                {"functionname", AttributeKind::functionname}};

/// Finds a name in one look. `placeOf` has to give each its own place, which the assertions below
/// prove: a name that shares one needs other factors.
template <class Kind>
class Names {
public:
    template <std::size_t count>
    constexpr explicit Names(Row<Kind> const (&rows)[count]) {
        for (Row<Kind> const& row : rows) {
            Row<Kind>& place = places_[placeOf(row.name)];
            areApart_ = areApart_ && place.name.empty();
            place = row;
        }
    }
    constexpr bool areApart() const { return areApart_; }

    Kind find(std::string_view name) const {
        if (name.size() < 2) return Kind::unknown;
        Row<Kind> const& row = places_[placeOf(name)];
        return row.name == name ? row.kind : Kind::unknown;
    }

private:
    static constexpr std::size_t placeCount = 64;
    static constexpr std::size_t placeOf(std::string_view name) {
        auto const at = [&](std::size_t i) { return static_cast<unsigned char>(name[i]); };
        return (at(0) + at(1) * 9u + at(name.size() - 1)) % placeCount;
    }

    std::array<Row<Kind>, placeCount> places_{};
    bool areApart_ = true;
};

constexpr Names<ElementKind> elementNames(elementRows);
constexpr Names<AttributeKind> attributeNames(attributeRows);
static_assert(elementNames.areApart() && attributeNames.areApart());

}  // namespace

ElementKind elementKind(std::string_view name) { return elementNames.find(name); }
AttributeKind attributeKind(std::string_view name) { return attributeNames.find(name); }

}  // namespace settings::core
