// Writing chosen nodes, or a standalone tree, to a file of the user's choice.

#include <stdexcept>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/persistence/writer/SaveWalk.hpp>
#include <settingscore/persistence/writer/TagWriter.hpp>
#include <settingscore/tree/FakeSettingsTreeNode.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

using detail::HeldLock;
using detail::SharedTreeLock;
using FakeNode = boost::shared_ptr<FakeSettingsTreeNode>;
using NodeList = std::vector<boost::shared_ptr<Settings const>>;

bool FakeSettingsTreeNode::ByName::operator()(FakeNode const& a, FakeNode const& b) const {
    return a->node_->nameWithLock() < b->node_->nameWithLock();
}

FakeSettingsTreeNode::FakeSettingsTreeNode(boost::shared_ptr<SettingsImpl const> const& node,
                                           FakeNode const& child)
    : node_(node) {
    if (child) children_.insert(child);
}

namespace {

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
void mergeTwoObjectsPath(FakeNode const& tree, FakeNode const& added) {
    if (added->children().empty()) {
        tree->children().clear();  // The whole subtree is asked for.
    } else if (!tree->children().empty()) {
        FakeNode const& child = *added->children().begin();
        auto const inserted = tree->children().insert(child);
        if (!inserted.second) mergeTwoObjectsPath(*inserted.first, child);
    }
}

void addObjectsToTheFakeSavingTree(FakeNode& tree, FakeNode const& added) {
    if (!tree) {
        tree = added;
    } else if (added) {
        if (tree->node() != added->node()) {
            throw exception::ErrorExportMultipleNodesBelongsToDiffProducts(
                tree->node()->nameWithLock(), added->node()->nameWithLock());
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

void saveFakeSavingTree(FakeSettingsTreeNode const& fake, std::ostream& stream,
                        std::string const& levelName, unsigned long depth, HeldLock const& lock) {
    SettingsImpl const& node = *fake.node();
    if (fake.children().empty()) {
        node.saveAll(lock, stream, depth, levelName);
        return;
    }
    writeCurrentOpenTag(lock, stream, depth, fake.node(), node.isTopLevelNodeWithLock(lock));
    for (FakeNode const& child : fake.children()) {
        saveFakeSavingTree(*child, stream, levelName, depth + 1, lock);
    }
    writeCurrentCloseTag(stream, depth, node.isLeafWithLock());
}

}  // namespace

void SettingsImpl::exportSettingsImpl(NodeList const& nodes, ustring const& path,
                                      std::string const& levelName) {
    if (nodes.empty()) throw std::invalid_argument("exportSettings: the list of nodes is empty.");
    std::vector<boost::shared_ptr<SettingsImpl const>> impls;
    for (auto const& node : nodes) {
        impls.push_back(boost::dynamic_pointer_cast<SettingsImpl const>(node));
        if (!impls.back()) throw std::invalid_argument("exportSettings: a node is empty.");
    }
    // Before the lock: a product that was not touched yet would be written without its content.
    for (auto const& node : impls)
        node->getTopLevelNode()->loadIfNotInitializedYet();
    if (!levelName.empty()) impls.front()->validateLevelName(levelName);

    SharedTreeLock const lock;
    FakeNode const tree = createFakeSavingTree(impls);
    tree->node()->exportPreCheck(lock, path);
    qf::filesystem::basic_ofstream stream(path);
    if (!stream) throw exception::ErrorSaveSettingsDueToFileIOError(nodes.front(), path);
    saveFakeSavingTree(*tree, stream, levelName, 0, lock);
    stream.close();
}

void SettingsImpl::exportPreCheck(HeldLock const&, ustring const& path) const {
    if (isRoot()) throw exception::CannotExportSettingsRoot(sharedThis());
    if (!isConnectedToTheSettingsTree()) {
        throw exception::CannotExportStandaloneSettings(sharedThis());
    }
    if (!qf::filesystem::detail::is_absolute(path)) {
        throw exception::ErrorExportOrImportSettingsUsingRelativePath(path);
    }
}

void SettingsImpl::createSettingsFileImpl(boost::shared_ptr<SettingsImpl> const& node,
                                          ustring const& path, unsigned int version) {
    if (!qf::filesystem::detail::is_absolute(path)) {
        throw exception::ErrorExportOrImportSettingsUsingRelativePath(path);
    }
    qf::filesystem::basic_ofstream stream(path);
    if (!stream) throw exception::ErrorSaveSettingsDueToFileIOError(node, path);
    boost::shared_ptr<SettingsImpl> const top = node->getTopLevelNode();
    top->setVersionNumber(version);
    {
        SharedTreeLock const lock;
        SaveWalk walk(stream);
        unsigned long const depth = top->getNodeDepth(lock);
        top->saveSelf(lock, walk, depth, std::string());
        top->writeParentCloseTag(lock, walk, depth);
    }
    stream.close();
}

}  // namespace settings::core
