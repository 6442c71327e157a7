#pragma once

#include <ostream>
#include <string>
#include <vector>

#include <qbsettings/generate/Identifiers.hpp>
#include <qbsettings/store/Tree.hpp>
#include <qbsettings/texts/ProductTexts.hpp>
#include <settingscore/tree/KeyDescription.hpp>

namespace qbsettings {

/// Writes the header of typed keys of a product: a group as a namespace, a key as a `Key`, its
/// bounds as constants, its choices as an enum. What it writes depends on the definition and its
/// texts alone.
class KeyHeader {
public:
    /// `texts` become comments.
    KeyHeader(Tree& tree, texts::ProductTexts& texts, std::ostream& out)
        : tree_(tree), texts_(texts), out_(out) {}

    /// `outer` is the namespace around it, such as "app::settings"; empty for none.
    void write(SettingsPtr const& product, std::string const& outer);

private:
    void writeGroup(SettingsPtr const& group, std::string const& name, std::string const& fullName);
    void writeKey(SettingsPtr const& key, std::string const& name, std::string const& fullName,
                  Scope& scope);
    /// The comment in front of a node, a line for each text.
    void writeComment(std::vector<std::string> const& lines);
    /// The texts of the node, in the same comment. True if there are any.
    bool writeTexts(std::string const& fullName);
    texts::Texts textsOf(std::string const& fullName);
    void writeBounds(settings::core::KeyDescription const& key, std::string const& name,
                     Scope& scope);
    /// Gives the name of the enum, or nothing if the choices make none.
    std::string writeChoices(settings::core::KeyDescription const& key, std::string const& name,
                             std::string const& fullName, Scope& scope);

    Tree& tree_;
    texts::ProductTexts& texts_;
    std::ostream& out_;
};

}  // namespace qbsettings
