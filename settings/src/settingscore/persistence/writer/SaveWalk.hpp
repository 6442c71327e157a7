#pragma once

#include <algorithm>
#include <ostream>
#include <vector>

namespace settings::core {

class SettingsImpl;

/// State of one walk of the writer: the stream, and the nodes whose open tag is written and whose
/// close tag is owed. It belongs to the walk and not to the nodes, since two walks may be on the
/// same nodes at once, and since a walk may end with an exception.
class SaveWalk {
public:
    explicit SaveWalk(std::ostream& stream) : stream_(stream) {}
    SaveWalk(SaveWalk const&) = delete;
    SaveWalk& operator=(SaveWalk const&) = delete;

    std::ostream& stream() const { return stream_; }

    void opened(SettingsImpl const& node) { open_.push_back(&node); }
    bool isCloseTagPending(SettingsImpl const& node) const {
        return std::find(open_.rbegin(), open_.rend(), &node) != open_.rend();
    }
    /// Strikes the node; true if its close tag was owed, and is now the caller's to write.
    bool takeCloseTag(SettingsImpl const& node) {
        auto const found = std::find(open_.rbegin(), open_.rend(), &node);
        if (found == open_.rend()) return false;
        open_.erase(std::next(found).base());
        return true;
    }

private:
    std::ostream& stream_;
    std::vector<SettingsImpl const*> open_;
};

}  // namespace settings::core
