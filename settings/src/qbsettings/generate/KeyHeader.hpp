#pragma once

#include <ostream>
#include <string>
#include <vector>

#include <qbsettings/generate/Identifiers.hpp>
#include <qbsettings/store/Tree.hpp>
#include <settingscore/tree/KeyDescription.hpp>

namespace qbsettings {

/// Writes the header of typed keys of a product: a group as a namespace, a key as a `Key`, its
/// bounds as constants, its choices as an enum. What it writes depends on the definition alone.
class KeyHeader {
public:
    KeyHeader(Tree& tree, std::ostream& out) : tree_(tree), out_(out) {}

    /// `outer` is the namespace around it, such as "app::settings"; empty for none.
    void write(SettingsPtr const& product, std::string const& outer);

private:
    void writeGroup(SettingsPtr const& group, std::string const& name, std::string const& fullName);
    void writeKey(SettingsPtr const& key, std::string const& name, std::string const& fullName,
                  Scope& scope);
    /// The comment in front of a node, a line for each text.
    void writeComment(std::vector<std::string> const& lines);
    void writeBounds(settings::core::KeyDescription const& key, std::string const& name,
                     Scope& scope);
    /// Gives the name of the enum, or nothing if the choices make none.
    std::string writeChoices(settings::core::KeyDescription const& key, std::string const& name,
                             Scope& scope);

    Tree& tree_;
    std::ostream& out_;
};

}  // namespace qbsettings
