#pragma once

#include <iosfwd>
#include <string>

#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/tree/NodeView.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

/// The writer: from a node and a level to the text of a file. The caller holds the tree lock, and
/// nothing here locks or loads. The level "" stands for the values in force, without validators of
/// keys. A failed stream swallows what is written.
class TreeWriter {
public:
    /// Told by `saveSelf` where the text of each node begins and ends, without what is below it.
    class Observer {
    public:
        virtual ~Observer() = default;
        virtual void begins() = 0;
        /// The depth is that below the topmost node.
        virtual void ends(detail::NodeView const& node, std::size_t depth) = 0;
    };

    TreeWriter(detail::HeldLock const& lock, std::string const& levelName,
               Observer* observer = nullptr)
        : lock_(lock),
          levelName_(levelName),
          level_(SettingsLevelManager::findLevel(levelName)),
          observer_(observer) {}

    /// The node and all below it, with the tags above that are still owed.
    void saveSelf(SettingsImpl const& top, SaveWalk& walk, unsigned long depth) const;
    /// The node and all below it by themselves, without validators of groups: for an export.
    void saveAll(SettingsImpl const& top, std::ostream& stream, unsigned long depth) const;
    /// What is owed above the node, and its own open tag.
    void writeOpenTag(SettingsImpl const& last, SaveWalk& walk, unsigned long depth) const;
    /// Closes the node and all above it that are open.
    void writeParentCloseTag(SettingsImpl const& last, SaveWalk& walk, unsigned long depth) const;
    /// The validator of a key, if it belongs here, and its values.
    void writeKeyContent(SettingsImpl const& key, std::ostream& stream, unsigned long depth) const;
    /// The last level writes the rules of its keys, an earlier one those of keys that no later one
    /// holds.
    bool shouldWriteRules(SettingsImpl const& key) const;

private:
    detail::HeldLock lock_;
    std::string levelName_;
    SettingsLevel const* level_;  ///< Null for "".
    Observer* observer_;
};

}  // namespace settings::core
