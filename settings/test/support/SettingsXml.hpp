#pragma once

#include <string>

#include <settingscore/tree/Settings.hpp>

namespace qbtest {

/// A settings file: the header, a root tag with `attributes` and the schema, `body`, the close tag.
inline std::string settingsXml(std::string const& name, std::string const& body,
                               std::string const& attributes = "visible=\"true\"") {
    using settings::core::Settings;
    return Settings::settingsXMLFileHeader + "\n<settings name=\"" + name + "\" " + attributes +
           (attributes.empty() ? "" : " ") + Settings::settingsSchemaInfo + ">\n" + body +
           "</settings>\n";
}

}  // namespace qbtest
