#include <settingscore/persistence/SettingsExport.hpp>

#include <stdexcept>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/persistence/writer/TagWriter.hpp>
#include <settingscore/tree/FakeSettingsTreeNode.hpp>
#include <settingscore/tree/NodeView.hpp>

namespace settings::core::detail {

namespace {

using FakeNode = boost::shared_ptr<FakeSettingsTreeNode>;

/// The chain from the top of the node's tree down to the node.
FakeNode createTopFakeObjectOfTheCurrentObject(boost::shared_ptr<SettingsImpl const> node) {
    if (node->isSettingsTreeRoot()) {
        return boost::make_shared<FakeSettingsTreeNode>(node, FakeNode());
    }
    FakeNode top;
    for (; node && !node->isSettingsTreeRoot(); node = node->getParentImpl()) {
        top = boost::make_shared<FakeSettingsTreeNode>(node, top);
    }
    return top;
}

/// Adds a chain to the tree; the order in which chains come makes no difference.
void mergeTwoObjectsPath(FakeNode tree, FakeNode added) {
    while (!added->children().empty() && !tree->children().empty()) {
        FakeNode const child = *added->children().begin();
        auto const inserted = tree->children().insert(child);
        if (inserted.second) return;
        tree = *inserted.first;
        added = child;
    }
    // Where a chain ends, the whole subtree is asked for.
    if (added->children().empty()) tree->children().clear();
}

void addObjectsToTheFakeSavingTree(FakeNode& tree, FakeNode const& added) {
    if (!tree) {
        tree = added;
    } else if (added) {
        if (tree->node() != added->node()) {
            throw exception::ErrorExportMultipleNodesBelongsToDiffProducts(
                tree->node()->getName(), added->node()->getName());
        }
        mergeTwoObjectsPath(tree, added);
    }
}

FakeNode createFakeSavingTree(std::vector<boost::shared_ptr<SettingsImpl const>> const& nodes) {
    FakeNode tree;
    for (auto const& node : nodes) {
        addObjectsToTheFakeSavingTree(tree, createTopFakeObjectOfTheCurrentObject(node));
    }
    return tree;
}

void saveFakeSavingTree(FakeSettingsTreeNode const& top, std::ostream& stream,
                        std::string const& levelName, HeldLock const& lock) {
    struct Frame {
        FakeSettingsTreeNode const* fake;
        FakeSettingsTreeNode::Children::const_iterator next;
    };
    std::vector<Frame> stack;
    auto const enter = [&](FakeSettingsTreeNode const& fake) {
        SettingsImpl const& node = *fake.node();
        if (fake.children().empty()) {
            node.saveAll(lock, stream, stack.size(), levelName);
            return;
        }
        bool const isTop = NodeView(node, lock).isTopLevel();
        writeCurrentOpenTag(lock, stream, stack.size(), fake.node(), isTop);
        stack.push_back({&fake, fake.children().begin()});
    };
    enter(top);
    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.next != frame.fake->children().end()) {
            enter(**frame.next++);
            continue;
        }
        bool const isLeaf = NodeView(*frame.fake->node(), lock).isLeaf();
        stack.pop_back();
        writeCurrentCloseTag(stream, stack.size(), isLeaf);
    }
}

}  // namespace

SettingsExport::SettingsExport(Nodes const& nodes) {
    if (nodes.empty()) throw std::invalid_argument("exportSettings: the list of nodes is empty.");
    for (auto const& node : nodes) {
        nodes_.push_back(boost::dynamic_pointer_cast<SettingsImpl const>(node));
        if (!nodes_.back()) throw std::invalid_argument("exportSettings: a node is empty.");
    }
}

void SettingsExport::write(ustring const& path, std::string const& levelName) const {
    // Before the lock: a product that was not touched yet would be written without its content.
    for (auto const& node : nodes_)
        node->getTopLevelNode()->loadIfNotInitializedYet();
    if (!levelName.empty()) nodes_.front()->validateLevelName(levelName);

    SharedTreeLock const lock;
    FakeNode const tree = createFakeSavingTree(nodes_);
    check(*tree->node(), lock, path);
    qf::filesystem::basic_ofstream stream(path);
    if (!stream) throw exception::ErrorSaveSettingsDueToFileIOError(nodes_.front(), path);
    saveFakeSavingTree(*tree, stream, levelName, lock);
    stream.close();
}

void SettingsExport::check(SettingsImpl const& product, HeldLock const& lock, ustring const& path) {
    if (product.isRoot()) throw exception::CannotExportSettingsRoot(product.shared_from_this());
    if (!NodeView(product, lock).isConnected()) {
        throw exception::CannotExportStandaloneSettings(product.shared_from_this());
    }
    if (!qf::filesystem::detail::is_absolute(path)) {
        throw exception::ErrorExportOrImportSettingsUsingRelativePath(path);
    }
}

}  // namespace settings::core::detail
