#include <settingscore/persistence/shared/FileImage.hpp>

#include <algorithm>
#include <iterator>

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

FileImage FileImage::with(std::vector<Change> changes) const {
    std::stable_sort(changes.begin(), changes.end(),
                     [](Change const& a, Change const& b) { return a.path < b.path; });
    FileImage result;
    result.nodes_.reserve(nodes_.size() + changes.size());
    auto old = nodes_.begin();
    for (auto change = changes.begin(); change != changes.end(); ++change) {
        auto const next = std::next(change);
        if (next != changes.end() && next->path == change->path) continue;
        for (; old != nodes_.end() && old->path < change->path; ++old)
            result.nodes_.push_back(*old);
        if (old != nodes_.end() && old->path == change->path) ++old;
        if (change->content) result.nodes_.push_back({change->path, *change->content});
    }
    result.nodes_.insert(result.nodes_.end(), old, nodes_.end());
    return result;
}

}  // namespace settings::core
