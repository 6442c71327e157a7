#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include <settingscore/tree/NodeView.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core::detail {

/// The order in which a walk visits the children of a node.
enum class ChildOrder {
    byName,
    keysFirst  ///< Keys before groups, each by name: as files have them.
};

/// Walks over a node and all below it, with a stack of its own, since a tree may be deeper than the
/// thread's. `enter(view, depth)` is called before the children, and says whether they are to be
/// visited; `leave(view, depth)` after them, and also where they were not visited. The depth is
/// that below `top`.
template <class Enter, class Leave>
void walkTree(SettingsImpl const& top, HeldLock const& lock, ChildOrder order, Enter&& enter,
              Leave&& leave) {
    struct Frame {
        NodeView view;
        ChildMap const* children;  // As they stood at the first look.
        ChildMap::const_iterator next;
        int round;  // Of two where keys come first: the keys, then the groups.
    };
    int const rounds = order == ChildOrder::keysFirst ? 2 : 1;
    std::vector<Frame> stack;
    auto const visit = [&](SettingsImpl const& node) {
        NodeView const view(node, lock);
        if (enter(view, stack.size())) {
            ChildMap const& children = view.children();
            stack.push_back({view, &children, children.begin(), 0});
        } else {
            leave(view, stack.size());
        }
    };
    visit(top);
    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.next == frame.children->end()) {
            if (++frame.round < rounds) {
                frame.next = frame.children->begin();
                continue;
            }
            NodeView const view = frame.view;
            stack.pop_back();
            leave(view, stack.size());
            continue;
        }
        SettingsImpl const& child = *(frame.next++)->second;
        bool const isKey = NodeView(child, lock).isLeaf();
        if (rounds == 1 || isKey == (frame.round == 0)) visit(child);
    }
}

/// The same for what is done before the children alone.
template <class Enter>
void walkTree(SettingsImpl const& top, HeldLock const& lock, ChildOrder order, Enter&& enter) {
    walkTree(top, lock, order, std::forward<Enter>(enter), [](NodeView const&, std::size_t) {});
}

}  // namespace settings::core::detail
