#pragma once

#include <cstddef>
#include <limits>
#include <string>

#include <settingscore/host/UString.hpp>
#include <settingscore/persistence/Markup.hpp>

/// Elements of a settings file written down again, so that parts of a file can be tried.
namespace qbsettings {

/// The namespace of settings files, as an attribute of a root element.
constexpr char const* settingsNamespace = " xmlns=\"urn:quillbyte.zenbar.settings\"";

/// The folder that relative paths in a file count from.
qf::ustring folderOf(qf::ustring const& file);

/// A root element with its first `count` elements, itself among them, each of which is closed.
std::string markupText(settings::core::Markup const& top, qf::ustring const& folder,
                       std::size_t count);

/// An element with all that is inside.
std::string markupText(settings::core::Markup const& element, qf::ustring const& folder);

/// An opening tag with its attributes.
std::string openingTag(settings::core::Markup const& element);

}  // namespace qbsettings
