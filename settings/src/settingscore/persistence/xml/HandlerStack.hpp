#pragma once

#include <cstddef>
#include <deque>
#include <string_view>

#include <settingscore/persistence/xml/XMLNode.hpp>

namespace settings::core {

/// The handlers of the elements that are open, the root's first. A depth's room is kept for the
/// next element there.
class HandlerStack {
public:
    HandlerStack() = default;
    HandlerStack(HandlerStack const&) = delete;
    HandlerStack& operator=(HandlerStack const&) = delete;
    ~HandlerStack() { clear(); }

    std::size_t depth() const { return depth_; }
    XMLNode& top() { return *at(depth_ - 1).handler; }
    ElementKind topKind() { return at(depth_ - 1).kind; }

    /// Adds what `make(room)` makes there.
    template <class Make>
    void push(ElementKind kind, Make const& make) {
        if (depth_ == places_.size()) places_.emplace_back();
        Place& place = at(depth_);
        place.handler = make(place.room);
        place.kind = kind;
        ++depth_;
    }
    void pop() {
        at(depth_ - 1).handler->~XMLNode();
        --depth_;
    }
    void clear() {
        while (depth_ > 0)
            pop();
    }

private:
    struct Place {
        XMLNode* handler = nullptr;
        ElementKind kind = ElementKind::unknown;
        XMLNode::Room room;
    };
    Place& at(std::size_t depth) { return places_[depth]; }

    /// Handlers refer to those above: none may move.
    std::deque<Place> places_;
    std::size_t depth_ = 0;
};

}  // namespace settings::core
