#include <cstring>

#include <settingscore/persistence/xml/module/ParserModule.hpp>

using settings::core::ParserModule;

extern "C" __attribute__((visibility("default"))) ParserModule const* qbsettings_parser(
    char const* version) {
    static constexpr ParserModule functions{&settings::core::parseValidating,
                                            &settings::core::parseMarkup};
    return std::strcmp(version, QBSETTINGSCORE_VERSION) == 0 ? &functions : nullptr;
}

static_assert(std::is_same_v<decltype(qbsettings_parser), ParserModule::Entry>);
