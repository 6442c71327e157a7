// Writing chosen nodes, or a standalone tree, to a file of the user's choice, and reading one back.

#include <stdexcept>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/persistence/writer/SaveWalk.hpp>
#include <settingscore/persistence/writer/TagWriter.hpp>
#include <settingscore/persistence/xml/SettingsXMLReader.hpp>
#include <settingscore/tree/FakeSettingsTreeNode.hpp>
#include <settingscore/tree/NodeView.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

using detail::HeldLock;
using detail::NodeView;
using detail::SharedTreeLock;
using FakeNode = boost::shared_ptr<FakeSettingsTreeNode>;
using NodeList = std::vector<boost::shared_ptr<Settings const>>;

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
    saveFakeSavingTree(*tree, stream, levelName, lock);
    stream.close();
}

void SettingsImpl::exportPreCheck(HeldLock const& lock, ustring const& path) const {
    if (isRoot()) throw exception::CannotExportSettingsRoot(shared_from_this());
    if (!NodeView(*this, lock).isConnected()) {
        throw exception::CannotExportStandaloneSettings(shared_from_this());
    }
    if (!qf::filesystem::detail::is_absolute(path)) {
        throw exception::ErrorExportOrImportSettingsUsingRelativePath(path);
    }
}

void SettingsImpl::createSettingsFileImpl(boost::shared_ptr<SettingsImpl const> const& node,
                                          ustring const& path, unsigned int version) {
    if (!qf::filesystem::detail::is_absolute(path)) {
        throw exception::ErrorExportOrImportSettingsUsingRelativePath(path);
    }
    qf::filesystem::basic_ofstream stream(path);
    if (!stream) throw exception::ErrorSaveSettingsDueToFileIOError(node, path);
    auto const top = boost::const_pointer_cast<SettingsImpl>(node->getTopLevelNode());
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

boost::shared_ptr<Settings> Settings::importAsStandaloneObject(ustring const& path) {
    if (!qf::filesystem::detail::is_absolute(path)) {
        throw exception::ErrorExportOrImportSettingsUsingRelativePath(path);
    }
    return SettingsXMLReader::getParsedSettings(path);
}

void Settings::exportSettings(std::vector<boost::shared_ptr<Settings const>> const& nodes,
                              ustring const& path, std::string const& levelName) {
    SettingsImpl::exportSettingsImpl(nodes, path, levelName);
}

void Settings::createFactorySettingsFile(boost::shared_ptr<Settings const> const& node,
                                         ustring const& path, unsigned int version) {
    auto const impl = boost::dynamic_pointer_cast<SettingsImpl const>(node);
    if (!impl) throw std::invalid_argument("createFactorySettingsFile: the node is empty.");
    if (impl->isConnectedToTheSettingsTree()) {
        throw exception::ErrorCreateFactoryFileFromATreeNode(node);
    }
    SettingsImpl::createSettingsFileImpl(impl, path, version);
}

}  // namespace settings::core
