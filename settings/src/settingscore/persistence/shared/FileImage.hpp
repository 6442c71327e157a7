#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <settingscore/tree/PathHash.hpp>

namespace settings::core {

/// What a file of a product holds, or would hold, in 16 bytes a node: for each node a number that
/// stands for its own text, without what is below it.
class FileImage {
public:
    using Content = std::uint64_t;

    /// Each place once; `sort` is to follow before anything is looked up.
    void add(detail::PathHash path, Content content) { nodes_.push_back({path, content}); }
    void sort();
    std::optional<Content> find(detail::PathHash path) const;
    /// A node that came or changed; without content it went.
    struct Change {
        detail::PathHash path;
        std::optional<Content> content;
    };
    /// The image after the changes. Of several of a place the last one counts.
    FileImage with(std::vector<Change> changes) const;

private:
    struct Node {
        detail::PathHash path;
        Content content;
    };
    std::vector<Node> nodes_;
};

}  // namespace settings::core
