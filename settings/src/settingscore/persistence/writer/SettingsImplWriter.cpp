// The writer: from a node and a level to the text of a file. The caller holds the tree lock, and
// nothing here locks or loads.

#include <ostream>
#include <vector>

#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/persistence/writer/SaveWalk.hpp>
#include <settingscore/persistence/writer/TagWriter.hpp>
#include <settingscore/tree/NodeWalk.hpp>

namespace settings::core {

using detail::ChildOrder;
using detail::HeldLock;
using detail::NodeView;

namespace {

/// The validators of the groups above a node, each with the depth at which its line is written.
/// They stand before each node below the group, whether or not the group's tag was open already;
/// so an ancestor's line stands again before each key of the groups inside it.
class GroupValidators {
public:
    void entered(NodeView const& group, unsigned long depth) {
        if (holdsLine(group)) lines_.push_back({&group.validator(), depth + 1});
    }
    void left(NodeView const& group) {
        if (holdsLine(group)) lines_.pop_back();
    }
    void write(std::ostream& stream) const {
        for (Line const& line : lines_)
            writeValidator(*line.validator, stream, line.depth);
    }

private:
    static bool holdsLine(NodeView const& group) {
        return !group.isLeaf() && !group.isTreeRoot() && group.validator().which() != 0;
    }
    struct Line {
        Validator const* validator;
        unsigned long depth;
    };
    std::vector<Line> lines_;
};

bool isTopOfFile(NodeView const& view) { return !view.parent() || view.isTopLevel(); }

/// The node and those above it that a file has, the topmost first.
std::vector<boost::shared_ptr<SettingsImpl const>> chainTo(SettingsImpl const& node) {
    std::vector<boost::shared_ptr<SettingsImpl const>> chain{node.shared_from_this()};
    for (auto above = node.getParentImpl(); above && !above->isSettingsTreeRoot();
         above = above->getParentImpl()) {
        chain.push_back(above);
    }
    return {chain.rbegin(), chain.rend()};
}

}  // namespace

void SettingsImpl::saveSelf(HeldLock const& lock, SaveWalk& walk, unsigned long depth,
                            std::string const& level) const {
    writeOpenTag(lock, walk, depth);
    auto const chain = chainTo(*this);
    GroupValidators validators;
    for (std::size_t i = 0; i + 1 < chain.size(); ++i)
        validators.entered(NodeView(*chain[i], lock), depth + 1 + i - chain.size());
    detail::walkTree(
        *this, lock, ChildOrder::keysFirst,
        [&](NodeView const& view, std::size_t below) {
            SettingsImpl const& node = view.node();
            if (below > 0) {
                validators.write(walk.stream());
                writeCurrentOpenTag(lock, walk.stream(), depth + below, node.shared_from_this(),
                                    isTopOfFile(view));
                walk.opened(node);
            }
            if (view.isLeaf()) node.writeKeyContent(lock, walk.stream(), depth + below, level);
            validators.entered(view, depth + below);
            return !view.isLeaf();
        },
        [&](NodeView const& view, std::size_t below) {
            validators.left(view);
            if (walk.takeCloseTag(view.node())) {
                writeCurrentCloseTag(walk.stream(), depth + below, view.isLeaf());
            }
        });
}

void SettingsImpl::saveAll(HeldLock const& lock, std::ostream& stream, unsigned long depth,
                           std::string const& level) const {
    detail::walkTree(
        *this, lock, ChildOrder::keysFirst,
        [&](NodeView const& view, std::size_t below) {
            SettingsImpl const& node = view.node();
            writeCurrentOpenTag(lock, stream, depth + below, node.shared_from_this(),
                                !view.isLeaf() && view.isTopLevel());
            if (view.isLeaf()) node.writeKeyContent(lock, stream, depth + below, level);
            return !view.isLeaf();
        },
        [&](NodeView const& view, std::size_t below) {
            writeCurrentCloseTag(stream, depth + below, view.isLeaf());
        });
}

void SettingsImpl::writeOpenTag(HeldLock const& lock, SaveWalk& walk, unsigned long depth) const {
    auto const chain = chainTo(*this);
    for (std::size_t i = 0; i < chain.size(); ++i) {
        unsigned long const ownDepth = depth + 1 + i - chain.size();
        if (i > 0) {
            writeValidator(NodeView(*chain[i - 1], lock).validator(), walk.stream(), ownDepth);
        }
        if (walk.isCloseTagPending(*chain[i])) continue;
        writeCurrentOpenTag(lock, walk.stream(), ownDepth, chain[i], i == 0);
        walk.opened(*chain[i]);
    }
}

void SettingsImpl::writeParentCloseTag(HeldLock const&, SaveWalk& walk, unsigned long depth) const {
    // Behind a subtree only groups can still be open.
    boost::shared_ptr<SettingsImpl const> node = shared_from_this();
    for (; node; node = node->getParentImpl(), --depth) {
        if (walk.takeCloseTag(*node)) writeCurrentCloseTag(walk.stream(), depth, false);
    }
}

void SettingsImpl::writeKeyContent(HeldLock const& lock, std::ostream& stream, unsigned long depth,
                                   std::string const& level) const {
    NodeView const view(*this, lock);
    if (shouldWriteRules(lock, level)) writeValidator(view.validator(), stream, depth + 1);
    if (ValueWriterFcn const writer = view.rules().writer()) {
        writer(lock, stream, shared_from_this(), level, depth + 1);
    }
}

bool SettingsImpl::shouldWriteRules(HeldLock const& lock, std::string const& levelName) const {
    if (levelName.empty()) return false;
    SettingsLevel const* const level = SettingsLevelManager::findLevel(levelName);
    if (!level) return true;
    // A key that a later level holds has its rules from there.
    detail::LevelValues const& values = NodeView(*this, lock).storedValues();
    for (std::size_t later = level->position() + 1; later < SettingsLevelManager::levelCount;
         ++later) {
        if (values.hasValue(later)) return false;
    }
    return true;
}

}  // namespace settings::core
