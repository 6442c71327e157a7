#pragma once

#include <string_view>

#include <settingscore/host/UString.hpp>
#include <settingscore/persistence/xml/ElementAttributes.hpp>

namespace settings::core {

/// Hears what stands in a file, from whichever parser reads it. What it throws ends the parse and
/// leaves the parser as it is.
class DocumentHandler {
public:
    virtual ~DocumentHandler() = default;

    /// `name` is the local name; what namespace it is of, the schema has seen to.
    virtual void startElement(std::string_view name, ElementAttributes const& attributes) = 0;
    /// A piece of the text of the innermost open element. White space between the elements of one
    /// that has no text is not told.
    virtual void characters(ustring const& piece) = 0;
    virtual void endElement(std::string_view name) = 0;
};

}  // namespace settings::core
