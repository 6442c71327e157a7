#include <settingscore/persistence/xml/XMLValueTypes.hpp>

#include <settingscore/persistence/xml/XMLValueType.hpp>
#include <settingscore/value/ValueTraits.hpp>

namespace settings::core {

XMLNode::Creator creatorOfType(ElementKind kind) {
    switch (typeIndex(kind)) {
#define SETTINGSCORE_ROW(type, index, name, wide, word) \
    case index:                                         \
        return &XMLValueType<type>::createType;
        SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ROW)
#undef SETTINGSCORE_ROW
        default:
            return nullptr;
    }
}

}  // namespace settings::core
