#pragma once

#include <string>

#include <boost/shared_ptr.hpp>
#include <settingscore/persistence/shared/FileImage.hpp>
#include <settingscore/tree/TreeLock.hpp>

namespace settings::core {

class SettingsImpl;
class SettingsLevel;

/// A product as a save at a level would write it.
struct Rendering {
    std::string text;
    FileImage image;

    Rendering(detail::HeldLock const& lock, SettingsImpl const& product,
              SettingsLevel const& level);
};

/// What the image of a rendering has for one node.
FileImage::Content contentOf(detail::HeldLock const& lock, SettingsImpl const& node,
                             SettingsLevel const& level);

}  // namespace settings::core
