#include <settingscore/persistence/writer/TreeWriter.hpp>

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

void TreeWriter::saveSelf(SettingsImpl const& top, SaveWalk& walk, unsigned long depth) const {
    if (observer_) observer_->begins();
    writeOpenTag(top, walk, depth);
    auto const chain = chainTo(top);
    GroupValidators validators;
    for (std::size_t i = 0; i + 1 < chain.size(); ++i)
        validators.entered(NodeView(*chain[i], lock_), depth + 1 + i - chain.size());
    detail::walkTree(
        top, lock_, ChildOrder::keysFirst,
        [&](NodeView const& view, std::size_t below) {
            SettingsImpl const& node = view.node();
            if (below > 0) {
                validators.write(walk.stream());
                if (observer_) observer_->begins();
                writeCurrentOpenTag(lock_, walk.stream(), depth + below, node.shared_from_this(),
                                    isTopOfFile(view));
                walk.opened(node);
            }
            if (view.isLeaf()) writeKeyContent(node, walk.stream(), depth + below);
            if (observer_) observer_->ends(view, below);
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

void TreeWriter::saveAll(SettingsImpl const& top, std::ostream& stream, unsigned long depth) const {
    detail::walkTree(
        top, lock_, ChildOrder::keysFirst,
        [&](NodeView const& view, std::size_t below) {
            SettingsImpl const& node = view.node();
            writeCurrentOpenTag(lock_, stream, depth + below, node.shared_from_this(),
                                !view.isLeaf() && view.isTopLevel());
            if (view.isLeaf()) writeKeyContent(node, stream, depth + below);
            return !view.isLeaf();
        },
        [&](NodeView const& view, std::size_t below) {
            writeCurrentCloseTag(stream, depth + below, view.isLeaf());
        });
}

void TreeWriter::writeOpenTag(SettingsImpl const& last, SaveWalk& walk, unsigned long depth) const {
    auto const chain = chainTo(last);
    for (std::size_t i = 0; i < chain.size(); ++i) {
        unsigned long const ownDepth = depth + 1 + i - chain.size();
        if (i > 0) {
            writeValidator(NodeView(*chain[i - 1], lock_).validator(), walk.stream(), ownDepth);
        }
        if (walk.isCloseTagPending(*chain[i])) continue;
        writeCurrentOpenTag(lock_, walk.stream(), ownDepth, chain[i], i == 0);
        walk.opened(*chain[i]);
    }
}

void TreeWriter::writeParentCloseTag(SettingsImpl const& last, SaveWalk& walk,
                                     unsigned long depth) const {
    // Behind a subtree only groups can still be open.
    boost::shared_ptr<SettingsImpl const> node = last.shared_from_this();
    for (; node; node = node->getParentImpl(), --depth) {
        if (walk.takeCloseTag(*node)) writeCurrentCloseTag(walk.stream(), depth, false);
    }
}

void TreeWriter::writeKeyContent(SettingsImpl const& key, std::ostream& stream,
                                 unsigned long depth) const {
    NodeView const view(key, lock_);
    if (shouldWriteRules(key)) writeValidator(view.validator(), stream, depth + 1);
    if (detail::ValueWriterFcn const writer = view.rules().writer()) {
        writer(lock_, stream, key.shared_from_this(), levelName_, depth + 1);
    }
}

bool TreeWriter::shouldWriteRules(SettingsImpl const& key) const {
    if (levelName_.empty()) return false;
    if (!level_) return true;
    // A key that a later level holds has its rules from there.
    detail::LevelValues const& values = NodeView(key, lock_).storedValues();
    for (std::size_t later = level_->position() + 1; later < SettingsLevelManager::levelCount;
         ++later) {
        if (values.hasValue(later)) return false;
    }
    return true;
}

}  // namespace settings::core
