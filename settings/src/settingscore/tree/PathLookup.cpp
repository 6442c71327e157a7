#include <settingscore/tree/PathLookup.hpp>

#include <algorithm>

#include <settingscore/tree/NodeView.hpp>

namespace settings::core::detail {

PathLookup::Path PathLookup::split(std::string const& fullName) {
    Path path;
    path.reserve(1 + static_cast<std::size_t>(std::count(fullName.begin(), fullName.end(), '.')));
    for (std::size_t begin = 0; begin < fullName.size();) {
        std::size_t const end = std::min(fullName.find('.', begin), fullName.size());
        if (end > begin) path.push_back(fullName.substr(begin, end - begin));
        begin = end + 1;
    }
    return path;
}

PathLookup::NodePtr PathLookup::find(Path const& path) const {
    if (path.empty()) return {};
    if (start_.isSettingsTreeRoot()) start_.loadIfNotInitializedYet();
    boost::shared_ptr<SettingsImpl const> toLoad;
    {
        SharedTreeLock const lock;
        toLoad = unloaded(lock, path);
        if (!toLoad) return findWithLock(lock, path.begin(), path.end());
    }
    toLoad->loadIfNotInitializedYet();
    SharedTreeLock const lock;
    return findWithLock(lock, path.begin(), path.end());
}

boost::shared_ptr<SettingsImpl const> PathLookup::unloaded(HeldLock const& lock,
                                                           Path const& path) const {
    NodeView const view(start_, lock);
    if (!view.isTreeRoot()) {
        boost::shared_ptr<SettingsImpl const> top = view.topLevel();
        if (top->contentWithLock(lock).loadOnce.isDone()) top.reset();
        return top;
    }
    SettingsImpl const* const product = view.child(path.front());
    if (!product || product->contentWithLock(lock).loadOnce.isDone()) return {};
    return product->shared_from_this();
}

PathLookup::NodePtr PathLookup::findWithLock(HeldLock const& lock, Path::const_iterator first,
                                             Path::const_iterator last) const {
    SettingsImpl const* node = &start_;
    NodePtr const* found = nullptr;
    for (; first != last; ++first) {
        ChildMap const& children = node->contentWithLock(lock).visibleChildren();
        auto const entry = first->empty() ? children.end() : children.find(*first);
        if (entry == children.end() || !entry->second) return {};
        found = &entry->second;
        node = found->get();
    }
    return found ? *found : NodePtr();
}

}  // namespace settings::core::detail
