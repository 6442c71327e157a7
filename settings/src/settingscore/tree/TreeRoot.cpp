#include <settingscore/tree/TreeRoot.hpp>

#include <atomic>
#include <cstddef>

#include <settingscore/host/EventMgr.hpp>

namespace settings::core {

namespace {
std::atomic<int> enabledQueues{0};
}

bool TreeRoot::isAnyAudience() {
    return enabledQueues > 0 || zbutil::eventmgr::createLocalEventMgr()->hasSubscriptions();
}

void TreeRoot::countQueue(bool enabled) { enabledQueues += enabled ? 1 : -1; }

std::string const* TreeRoot::enterName(std::string const& name) {
    std::size_t const before = names_.size();
    // The names of a new root come in order.
    auto const place = names_.insert(names_.end(), name);
    return names_.size() == before ? &*place : nullptr;
}

}  // namespace settings::core
