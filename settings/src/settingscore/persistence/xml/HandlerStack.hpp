#pragma once

#include <cstddef>
#include <memory>
#include <vector>

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
    XMLNode& top() { return *places_[depth_ - 1]->handler; }
    ElementKind topKind() const { return places_[depth_ - 1]->kind; }

    /// Adds what `make(room)` makes there.
    template <class Make>
    void push(ElementKind kind, Make const& make) {
        if (depth_ == places_.size()) places_.push_back(std::make_unique<Place>());
        Place& place = *places_[depth_];
        place.handler = make(place.room);
        place.kind = kind;
        ++depth_;
    }
    void pop() {
        --depth_;
        places_[depth_]->handler->~XMLNode();
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

    /// Handlers refer to those above: none may move.
    std::vector<std::unique_ptr<Place>> places_;
    std::size_t depth_ = 0;
};

}  // namespace settings::core
