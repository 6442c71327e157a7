#include <settingscore/rules/SettingsKeyMetaData.hpp>

#include <settingscore/value/Get.hpp>

namespace settings::core {

template <class T>
SettingsKeyMetaData<T>::SettingsKeyMetaData(SettingsKeyMetaData<boost::any> const& untyped) {
    using settingscore::boostany::get;
    if (!untyped.minimum.empty()) minimum = get<Bound>(untyped.minimum, false);
    if (!untyped.maximum.empty()) maximum = get<Bound>(untyped.maximum, false);
    if (untyped.choices) {
        choices.emplace();
        choices->reserve(untyped.choices->size());
        for (boost::any const& choice : *untyped.choices)
            choices->push_back(get<T>(choice, false));
    }
}

#define SETTINGSCORE_ROW(type, place, text, wide, word) template struct SettingsKeyMetaData<type>;
SETTINGSCORE_ELEMENT_TYPES(SETTINGSCORE_ROW)
#undef SETTINGSCORE_ROW

}  // namespace settings::core
