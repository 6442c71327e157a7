#include <settingscore/persistence/shared/FileImage.hpp>

#include <algorithm>

namespace settings::core {

namespace {

constexpr auto isBefore = [](auto const& node, detail::PathHash path) { return node.path < path; };

}  // namespace

void FileImage::sort() {
    std::sort(nodes_.begin(), nodes_.end(),
              [](Node const& a, Node const& b) { return a.path < b.path; });
}

std::optional<FileImage::Content> FileImage::find(detail::PathHash path) const {
    auto const found = std::lower_bound(nodes_.begin(), nodes_.end(), path, isBefore);
    if (found == nodes_.end() || found->path != path) return std::nullopt;
    return found->content;
}

void FileImage::set(detail::PathHash path, std::optional<Content> const& content) {
    auto const found = std::lower_bound(nodes_.begin(), nodes_.end(), path, isBefore);
    bool const isThere = found != nodes_.end() && found->path == path;
    if (!content) {
        if (isThere) nodes_.erase(found);
    } else if (isThere) {
        found->content = *content;
    } else {
        nodes_.insert(found, {path, *content});
    }
}

}  // namespace settings::core
