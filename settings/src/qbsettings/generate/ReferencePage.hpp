#pragma once

#include <string>

#include <qbsettings/store/Tree.hpp>

namespace qbsettings::texts {
struct Texts;
}

namespace qbsettings {

class NodeTexts;
class Output;

/// Writes what the manual of a product prints of its settings: a page in Markdown with all keys,
/// their types, bounds, defaults and texts. In JSON the keys are the members of a list.
class ReferencePage {
public:
    ReferencePage(Tree& tree, NodeTexts& texts, Output& output)
        : tree_(tree), texts_(texts), output_(output) {}

    void write(SettingsPtr const& product);

private:
    void writeGroup(SettingsPtr const& group);
    void writeKey(SettingsPtr const& key);
    void writeTexts(texts::Texts const& told);
    /// A paragraph that stands by itself.
    void paragraph(std::string const& text);

    Tree& tree_;
    NodeTexts& texts_;
    Output& output_;
    bool hasBegun_ = false;
};

}  // namespace qbsettings
